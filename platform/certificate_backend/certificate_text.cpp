// A block's label says what it is; it must decode to exactly one object with no byte left over.

#include "platform/certificate_backend/certificate_text.h"

#include "platform/certificate_backend/private_key.h"
#include "platform/certificate_backend/signed_data.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

constexpr std::size_t MOST_CERTIFICATES = 16;

using Labels = std::array<std::string_view, 2>;
constexpr Labels CERTIFICATE_LABELS = {"CERTIFICATE", "X509 CERTIFICATE"};
constexpr Labels SIGNED_DATA_LABELS = {"PKCS7", "PKCS #7 SIGNED DATA"};
constexpr std::string_view ENCRYPTED_KEY_LABEL = "ENCRYPTED PRIVATE KEY";
constexpr std::string_view EC_PARAMETERS_LABEL = "EC PARAMETERS";

bool isOneOf(const Labels& labels, const std::string& label) {
    return std::find(labels.begin(), labels.end(), label) != labels.end();
}

std::string tooManyCertificates() {
    return "The text holds more than " + std::to_string(MOST_CERTIFICATES) +
           " certificates. Send the certificate and its chain alone.";
}

Fault addCertificate(const SecretBytes& content, CertificateBlocks& result) {
    if (result.certificates.size() == MOST_CERTIFICATES) {
        return tooManyCertificates();
    }
    const unsigned char* position = content.data();
    CertificateHandle certificate(d2i_X509(nullptr, &position, static_cast<long>(content.size())));
    if (!certificate || position != content.data() + content.size()) {
        return "Certificate " + std::to_string(result.certificates.size() + 1) +
               " of the text cannot be decoded. Send it as it was issued.";
    }
    result.certificates.push_back(std::move(certificate));
    return std::nullopt;
}

Fault addSignedData(const SecretBytes& content, CertificateBlocks& result) {
    std::vector<SecretBytes> certificates;
    if (Fault fault = takeSignedCertificates(content, MOST_CERTIFICATES, certificates)) {
        return fault;
    }
    for (const SecretBytes& certificate : certificates) {
        if (Fault fault = addCertificate(certificate, result)) {
            return fault;
        }
    }
    return std::nullopt;
}

Fault addPrivateKey(PemBlock& block, CertificateBlocks& result) {
    if (result.privateKey) {
        return "The text holds more than one private key. Send the certificate's own alone.";
    }
    result.privateKey = std::move(block);
    return std::nullopt;
}

Fault foreignBlock(const PemBlock& block, CertificateType type) {
    const std::string expected =
        type == CertificateType::SIGNED_DATA ? "a PKCS7 block" : "CERTIFICATE blocks";
    return "The text holds a \"" + block.label +
           "\" block, which does not belong into its certificate type. Send " + expected +
           ", and the private key where one is needed.";
}

Fault addBlock(PemBlock& block, CertificateType type, CertificateBlocks& result) {
    const bool isSignedData = type == CertificateType::SIGNED_DATA;
    if (block.encrypted || block.label == ENCRYPTED_KEY_LABEL) {
        return "The private key of the text is encrypted. Send it decrypted, as openssl pkey "
               "writes it.";
    }
    if (isSignedData && isOneOf(SIGNED_DATA_LABELS, block.label)) {
        return addSignedData(block.content, result);
    }
    if (!isSignedData && isOneOf(CERTIFICATE_LABELS, block.label)) {
        return addCertificate(block.content, result);
    }
    if (holdsPrivateKey(block)) {
        return addPrivateKey(block, result);
    }
    if (block.label != EC_PARAMETERS_LABEL) {
        return foreignBlock(block, type);
    }
    return namesCurve(block) ? std::nullopt
                             : Fault("The EC PARAMETERS block of the text names no curve. Leave it "
                                     "out.");
}

Fault addBlocks(std::vector<PemBlock>& blocks, CertificateType type, CertificateBlocks& result) {
    for (PemBlock& block : blocks) {
        if (Fault fault = addBlock(block, type, result)) {
            return fault;
        }
    }
    return std::nullopt;
}

// A text without any block may be signed data in bare base64.
Fault addBareText(std::string_view text, CertificateType type, CertificateBlocks& result) {
    SecretBytes content;
    if (type == CertificateType::SIGNED_DATA) {
        return decodeBase64(text, content)
                   ? addSignedData(content, result)
                   : Fault("The text is neither a PEM block nor base64. Send a PKCS7 block.");
    }
    return "The text holds no PEM block. Send the certificate as a block that begins with "
           "-----BEGIN CERTIFICATE-----.";
}

Fault countFault(std::size_t count, CertificateType type) {
    if (count == 0) {
        return "The text holds no certificate. Send the certificate that is to be installed.";
    }
    if (type == CertificateType::SINGLE && count > 1) {
        return "The text holds more than one certificate, and its type is PEM. Send one "
               "certificate, or give the type PEMchain.";
    }
    return std::nullopt;
}

Fault sizeFault(std::string_view text, std::size_t longest) {
    if (text.empty()) {
        return "The text is empty. Send a certificate as PEM text.";
    }
    if (text.size() > longest) {
        return "The text is longer than " + std::to_string(longest) +
               " bytes. Send the certificate and its chain alone.";
    }
    if (text.find('\0') != std::string_view::npos) {
        return "The text holds a NUL character. Send PEM text.";
    }
    return std::nullopt;
}

SignedDataHandle signedDataOf(const CertificateChain& chain) {
    SignedDataHandle data(PKCS7_new());
    bool made = data && PKCS7_set_type(data.get(), NID_pkcs7_signed) == 1 &&
                PKCS7_content_new(data.get(), NID_pkcs7_data) == 1 &&
                PKCS7_set_detached(data.get(), 1) == 1;
    for (const CertificateHandle& certificate : chain) {
        made = made && PKCS7_add_certificate(data.get(), certificate.get()) == 1;
    }
    if (!made) {
        throw std::runtime_error("cannot collect certificates as signed data");
    }
    return data;
}

} // namespace

std::optional<CertificateType> certificateTypeOf(std::string_view name) {
    if (name == "PEM") {
        return CertificateType::SINGLE;
    }
    if (name == "PEMchain") {
        return CertificateType::CHAIN;
    }
    return name == "PKCS7" ? std::optional(CertificateType::SIGNED_DATA) : std::nullopt;
}

Fault readCertificateText(std::string_view text, CertificateType type, CertificateBlocks& result,
                          std::size_t longest) {
    if (Fault fault = sizeFault(text, longest)) {
        return fault;
    }
    const std::string_view content = withoutByteOrderMark(text);
    std::vector<PemBlock> blocks;
    if (Fault fault = splitPemBlocks(content, blocks)) {
        return fault;
    }
    Fault fault =
        blocks.empty() ? addBareText(content, type, result) : addBlocks(blocks, type, result);
    return fault ? fault : countFault(result.certificates.size(), type);
}

std::string certificateText(const CertificateChain& chain, CertificateType type) {
    return type == CertificateType::SIGNED_DATA ? pemText(signedDataOf(chain)) : pemText(chain);
}

KeyHandle readPrivateKey(std::string_view text) {
    std::vector<PemBlock> blocks;
    const bool isOneKey = !splitPemBlocks(text, blocks) && blocks.size() == 1;
    return isOneKey ? decodePrivateKey(blocks.front()) : nullptr;
}
