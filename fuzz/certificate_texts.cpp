// Certificate texts. The input's first two characters choose the certificate type and the kind of
// collection; then comes the text, or the blocks of one as bytes that the target puts into PEM.
// Properties:
// - Creation answers 200 or 400. A refusal has a message and arguments.
// - No key material stands in a message, in the certificate string or in the key's reference.
// - What was installed reads back as a text of its type with certificates of the text alone, each
//   issued by the next; it is there only once, replaces itself with no operation, and is gone after
//   deletion.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "platform/certificate_backend.h"
#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/installed_certificates.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::string_view, 4> TYPES = {"PEM", "PEMchain", "PKCS7", "pem"};
constexpr std::array<std::string_view, 3> COLLECTIONS = {
    "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates",
    "/redfish/v1/Managers/1/SecurityPolicy/TLS/Client/TrustedCertificates",
    "/redfish/v1/UpdateService/ClientCertificates"};
constexpr std::array<std::string_view, 9> LABELS = {
    "CERTIFICATE",        "PRIVATE KEY",      "EC PRIVATE KEY",        "PKCS7",
    "RSA PRIVATE KEY",    "X509 CERTIFICATE", "ENCRYPTED PRIVATE KEY", "EC PARAMETERS",
    "TRUSTED CERTIFICATE"};
constexpr std::size_t LONGEST_BLOCK = 8192;
constexpr std::size_t SECRET_LENGTH = 24;

std::string base64(const std::string& bytes) {
    std::string digits((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(digits.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    digits.resize(static_cast<std::size_t>(length));
    return digits;
}

std::string takeBlocks(Input& input) {
    std::string text;
    while (!input.empty()) {
        const std::string label = input.pick(LABELS);
        text += "-----BEGIN " + label + "-----\n" + base64(input.text(LONGEST_BLOCK)) +
                "\n-----END " + label + "-----\n";
    }
    return text;
}

bool isBase64(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/';
}

// Long, and with a digit: no word of the backend's own messages is both.
bool isLikeKey(const std::string& run) {
    return run.size() == SECRET_LENGTH && run.find_first_of("0123456789") != std::string::npos;
}

// The long runs of base64 in the blocks labelled as private keys that stand nowhere else in the
// text.
std::vector<std::string> secretsOf(const std::string& text) {
    std::vector<std::string> secrets;
    std::string outside;
    std::string inside;
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t begin = text.find("PRIVATE KEY-----", position);
        const std::size_t start = begin == std::string::npos ? text.size() : begin + 16;
        const std::size_t end = std::min(text.find("-----END", start), text.size());
        outside += text.substr(position, start - position);
        inside += text.substr(start, end - start) + '\n';
        position = std::min(text.find('\n', end), text.size());
    }
    std::string run;
    for (const char c : inside + '\n') {
        if (isBase64(c)) {
            run += c;
            continue;
        }
        const std::string secret = run.substr(0, SECRET_LENGTH);
        if (isLikeKey(secret) && outside.find(secret) == std::string::npos) {
            secrets.push_back(secret);
        }
        run.clear();
    }
    return secrets;
}

void requireWithout(const std::string& text, const std::vector<std::string>& secrets) {
    require(text.find("BEGIN PRIVATE KEY") == std::string::npos &&
                text.find("BEGIN EC PRIVATE KEY") == std::string::npos &&
                text.find("BEGIN RSA PRIVATE KEY") == std::string::npos,
            "an answer holds no private key");
    for (const std::string& secret : secrets) {
        require(text.find(secret) == std::string::npos, "an answer holds no key material");
    }
}

std::string uriOf(const CreateCertRequest& request) {
    return request.collectionUri + "/" + request.certificateId;
}

void checkSecrets(const CreateCertResult& result, const CreateCertRequest& request) {
    const std::string reference = installedFile("/var/lib/CertificateService", uriOf(request));
    require(result.privateKeyValue.empty() || result.privateKeyValue == reference,
            "a private key is answered as a reference");
    const std::vector<std::string> secrets = secretsOf(request.certificateString);
    requireWithout(result.certificateString, secrets);
    for (const auto& texts : {result.message.MessageArgs, result.message.RelatedProperties}) {
        for (const std::string& argument : texts) {
            requireWithout(argument, secrets);
        }
    }
}

void checkRefusal(const CreateCertResult& result) {
    require(result.code == 400, "a refusal is code 400");
    require(result.message.MessageId.starts_with("Base.1.9."), "a refusal has an identifier");
    require(!result.message.MessageArgs.empty(), "a refusal says what is wrong");
    require(result.certificateString.empty() || result.privateKeyValue.empty(),
            "a refusal installs nothing");
}

void checkReadBack(const CreateCertRequest& request, const std::string& text) {
    const std::optional<CertificateType> type = certificateTypeOf(request.certificateType);
    require(type.has_value(), "what is installed has a type");
    CertificateBlocks sent;
    CertificateBlocks kept;
    require(!readCertificateText(request.certificateString, *type, sent), "what was sent is good");
    requireSame(readCertificateText(text, *type, kept, std::string::npos).value_or(""), "",
                "the certificate string can be read");
    require(!kept.privateKey, "the certificate string holds no key");
    for (const CertificateHandle& each : kept.certificates) {
        require(std::any_of(sent.certificates.begin(), sent.certificates.end(),
                            [&](const CertificateHandle& other) {
                                return X509_cmp(each.get(), other.get()) == 0;
                            }),
                "the certificate string holds certificates that were sent");
    }
    for (std::size_t i = 1; i < kept.certificates.size(); ++i) {
        require(hasIssuerSignature(kept.certificates[i].get(), kept.certificates[i - 1].get()),
                "each certificate is issued by the next");
    }
}

void checkInstalled(const CreateCertRequest& request, const CreateCertResult& result) {
    const std::string uri = uriOf(request);
    checkReadBack(request, result.certificateString);
    require(createCertificateHandler(request).code == 409, "a certificate is installed once");
    const CreateCertResult again = replaceCertificateHandler(
        {uri, request.certificateString, request.certificateType, request.rootCaFile});
    checkSecrets(again, request);
    require(again.code == 200, "the same text replaces itself");
    requireSame(again.message.MessageId, "Base.1.9.NoOperation", "and nothing is done");
    require(deleteCertificateHandler(uri).code == 200, "what is installed can be deleted");
    require(deleteCertificateHandler(uri).code == 400, "and is gone then");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    CreateCertRequest request;
    request.certificateType = input.pick(TYPES);
    const std::size_t form = input.choose(6);
    request.collectionUri = COLLECTIONS[form % COLLECTIONS.size()];
    request.certificateId = "1";
    request.certificateString = form < COLLECTIONS.size() ? input.rest() : takeBlocks(input);
    const CreateCertResult result = createCertificateHandler(request);
    checkSecrets(result, request);
    if (result.code == 200) {
        checkInstalled(request, result);
    } else {
        checkRefusal(result);
    }
    return 0;
}
