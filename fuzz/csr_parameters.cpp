// The parameters of signing requests. Properties, for any texts under known and unknown names:
// - The reader refuses with a message that has an identifier, or accepts.
// - A refusal never holds the challenge password: with another one it says the same.
// - What it accepts becomes a request that OpenSSL parses and whose signature is good; it holds one
//   PEM block and no key, its common name is the one that was asked for and free of what misleads a
//   reader, and it asks for no authority's key usage.
// - The handler agrees with the reader (asked for elliptic curves only: an RSA key takes too long).

#include "platform/certificate_backend/csr_parameters.h"

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "platform/certificate_backend.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/signing_request.h"
#include "platform/x509/memory_text.h"
#include "platform/x509/names.h"
#include "platform/x509/utf8.h"

#include <openssl/pem.h>

#include <array>

namespace {

constexpr std::array<std::string_view, 24> NAMES = {"CommonName",
                                                    "Country",
                                                    "State",
                                                    "City",
                                                    "Organization",
                                                    "OrganizationalUnit",
                                                    "GivenName",
                                                    "Surname",
                                                    "Initials",
                                                    "ContactPerson",
                                                    "Email",
                                                    "ChallengePassword",
                                                    "KeyCurveId",
                                                    "KeyPairAlgorithm",
                                                    "UnstructuredName",
                                                    "AlternativeNames",
                                                    "KeyUsage",
                                                    "CertificateCollection",
                                                    "KeyBitLength",
                                                    "&&Own",
                                                    "Name@odata.id",
                                                    "@odata.id",
                                                    "",
                                                    "Unknown"};

constexpr std::array<std::string_view, 35> VALUES = {"DE",
                                                     "d1",
                                                     "host.example",
                                                     "*.host.example",
                                                     "192.0.2.1",
                                                     "2001:db8::1",
                                                     "someone@host.example",
                                                     "https://host.example/a",
                                                     "DNS:host.example",
                                                     "IP:192.0.2.1",
                                                     "email:someone@host.example",
                                                     "URI:urn:a",
                                                     "TPM_ALG_RSA",
                                                     "TPM_ALG_ECDSA",
                                                     "TPM_ALG_ECDH",
                                                     "TPM_ECC_NIST_P256",
                                                     "TPM_ECC_NIST_P384",
                                                     "TPM_ECC_NIST_P521",
                                                     "DigitalSignature",
                                                     "KeyEncipherment",
                                                     "ServerAuthentication",
                                                     "ClientAuthentication",
                                                     "Timestamping",
                                                     "CRLSigning",
                                                     "",
                                                     "CN=a,O=b/c",
                                                     "Ü",
                                                     "100%s",
                                                     "\"",
                                                     "a\xe2\x80\xae",
                                                     "RID:1.2.3",
                                                     "fe80::1%eth0",
                                                     "\\",
                                                     "#a",
                                                     "secret-word"};

constexpr std::array<std::int32_t, 10> KEY_LENGTHS = {0,    256,  384,  521,        2048,
                                                      3072, 4096, 1024, 2147483647, -1};

constexpr std::size_t SHORTEST_SECRET = 6;
constexpr std::size_t LONGEST_SECRET = 16;

std::string takeValue(Input& input) {
    return input.choose(3) == 0 ? input.text(300) : input.pick(VALUES);
}

CSRRequest takeRequest(Input& input) {
    CSRRequest request;
    request.collectionUri = "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";
    request.keyBitLength = KEY_LENGTHS[input.choose(KEY_LENGTHS.size())];
    if (input.choose(8) != 0) {
        request.stringParameters["CommonName"] = "host.example";
    }
    while (!input.empty()) {
        const std::string name = input.choose(8) == 0 ? input.text(80) : input.pick(NAMES);
        const bool isList = name == "AlternativeNames" || name == "KeyUsage";
        if (isList != (input.choose(16) == 0)) {
            std::vector<std::string>& values = request.arrayParameters[name];
            for (std::size_t count = input.choose(4); count > 0; --count) {
                values.push_back(takeValue(input));
            }
        } else {
            request.stringParameters[name] = takeValue(input);
        }
    }
    return request;
}

// The beginning of the challenge password; messages cut what is long. Empty when it is too short to
// be told from other texts.
std::string secretOf(const CSRRequest& request) {
    const auto password = request.stringParameters.find("ChallengePassword");
    const bool isThere =
        password != request.stringParameters.end() && password->second.size() >= SHORTEST_SECRET;
    return isThere ? password->second.substr(0, LONGEST_SECRET) : std::string();
}

// The texts of the refusals that the request gets with other passwords, one usable and one not:
// they are the service's own sentences.
std::vector<std::string> refusalsWithoutSecret(CSRRequest request) {
    std::vector<std::string> texts;
    for (const char* password : {"another", "\n"}) {
        request.stringParameters["ChallengePassword"] = password;
        CsrParameters parameters;
        if (const std::optional<MessageInfo> refusal = readCsrParameters(request, parameters)) {
            texts.insert(texts.end(), refusal->MessageArgs.begin(), refusal->MessageArgs.end());
        }
    }
    return texts;
}

// Whether the text is the challenge password's alone, so that its presence in a message is a leak.
bool isSecret(const CSRRequest& request, const std::string& password) {
    const auto holds = [&](const std::string& text) {
        return text.find(password) != std::string::npos;
    };
    bool elsewhere = holds("CertificateService.GenerateCSR") || holds("#/ChallengePassword");
    for (const std::string& text : refusalsWithoutSecret(request)) {
        elsewhere = elsewhere || holds(text);
    }
    for (const auto& [name, value] : request.stringParameters) {
        elsewhere =
            elsewhere || holds("#/" + name) || (name != "ChallengePassword" && holds(value));
    }
    for (const auto& [name, values] : request.arrayParameters) {
        elsewhere = elsewhere || holds("#/" + name);
        for (const std::string& value : values) {
            elsewhere = elsewhere || holds(value);
        }
    }
    return !elsewhere;
}

void checkRefusal(const CSRRequest& request, const MessageInfo& message) {
    require(message.MessageId.starts_with("Base.1.9."), "a refusal has an identifier");
    require(!message.MessageArgs.empty(), "a refusal names what is wrong");
    const std::string secret = secretOf(request);
    if (secret.empty() || !isSecret(request, secret)) {
        return;
    }
    for (const auto& texts : {message.MessageArgs, message.RelatedProperties}) {
        for (const std::string& text : texts) {
            require(text.find(secret) == std::string::npos,
                    "no message holds the challenge password");
        }
    }
}

std::string commonNameOf(X509_REQ* request) {
    const NamePart first = namePartsOf(X509_REQ_get_subject_name(request)).front();
    require(first.property == "CommonName", "a signing request has a common name");
    require(first.value.has_value(), "the common name can be read");
    return *first.value;
}

void checkUsages(const CSRRequest& request) {
    const auto usages = request.arrayParameters.find("KeyUsage");
    if (usages != request.arrayParameters.end()) {
        for (const std::string& usage : usages->second) {
            require(usage != "KeyCertSign" && usage != "CRLSigning",
                    "no request is made for an authority");
        }
    }
}

void checkSigningRequest(const CSRRequest& request, const std::string& text) {
    require(text.find("PRIVATE KEY") == std::string::npos, "a signing request holds no key");
    require(text.find("-----BEGIN") == text.rfind("-----BEGIN"), "a signing request is one block");
    const RequestHandle parsed(
        PEM_read_bio_X509_REQ(readableText(text).get(), nullptr, noPassphrase, nullptr));
    require(parsed != nullptr, "a signing request can be parsed");
    require(X509_REQ_verify(parsed.get(), X509_REQ_get0_pubkey(parsed.get())) == 1,
            "a signing request's signature is good");
    const std::string& commonName = request.stringParameters.at("CommonName");
    requireSame(commonNameOf(parsed.get()), commonName,
                "the common name is the one that was asked for");
    require(printableLength(commonName).has_value(), "the common name can be shown");
    checkUsages(request);
}

EVP_PKEY* givenKey() {
    static const KeyHandle key = makeEcKey("P-256");
    return key.get();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const CSRRequest request = takeRequest(input);
    CsrParameters parameters;
    const std::optional<MessageInfo> refusal = readCsrParameters(request, parameters);
    if (refusal) {
        checkRefusal(request, *refusal);
    } else {
        checkSigningRequest(request, requestText(makeSigningRequest(parameters, givenKey()).get()));
    }
    if (!refusal && parameters.rsaBits != 0) {
        return 0;
    }
    const CSRResult result = generateCSRHandler(request);
    require(result.code == (refusal ? 400 : 200), "the handler agrees with the reader");
    if (refusal) {
        requireSame(result.message.MessageId, refusal->MessageId, "the handler's refusal");
        require(result.csr.empty(), "a refusal comes without a signing request");
    } else {
        checkSigningRequest(request, result.csr);
    }
    return 0;
}
