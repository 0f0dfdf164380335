// A block's label says what it is; it must decode to exactly one object with no byte left over.

#include "platform/certificate_backend/certificate_text.h"

#include "platform/certificate_backend/private_key.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

constexpr std::size_t MOST_CERTIFICATES = 16;

using Labels = std::array<std::string_view, 3>;
constexpr Labels CERTIFICATE_LABELS = {"CERTIFICATE", "X509 CERTIFICATE"};
constexpr Labels PKCS7_LABELS = {"PKCS7", "PKCS #7 SIGNED DATA"};
constexpr std::string_view ENCRYPTED_KEY_LABEL = "ENCRYPTED PRIVATE KEY";
constexpr std::string_view EC_PARAMETERS_LABEL = "EC PARAMETERS"; // written before an EC key

bool isOneOf(const Labels& labels, const std::string& label) {
    return std::find(labels.begin(), labels.end(), label) != labels.end();
}

Fault addCertificate(const SecretBytes& content, CertificateBlocks& result) {
    const unsigned char* position = content.data();
    CertificateHandle certificate(d2i_X509(nullptr, &position, static_cast<long>(content.size())));
    if (!certificate || position != content.data() + content.size()) {
        return "a certificate of the text cannot be decoded";
    }
    result.certificates.push_back(std::move(certificate));
    return std::nullopt;
}

Fault addSignedData(const SecretBytes& content, CertificateBlocks& result) {
    const unsigned char* position = content.data();
    const SignedDataHandle data(d2i_PKCS7(nullptr, &position, static_cast<long>(content.size())));
    if (!data || position != content.data() + content.size()) {
        return "the PKCS7 block of the text cannot be decoded";
    }
    if (!isSignedData(data.get())) {
        return "the PKCS7 block of the text is not signed data";
    }
    CertificateChain certificates = certificatesOf(data.get());
    std::move(certificates.begin(), certificates.end(), std::back_inserter(result.certificates));
    return std::nullopt;
}

Fault addPrivateKey(PemBlock& block, CertificateBlocks& result) {
    if (result.privateKey) {
        return "the text holds more than one private key";
    }
    result.privateKey = std::move(block);
    return std::nullopt;
}

Fault addBlock(PemBlock& block, CertificateType type, CertificateBlocks& result) {
    if (block.encrypted || block.label == ENCRYPTED_KEY_LABEL) {
        return "the private key of the text is encrypted";
    }
    if (type == CertificateType::SIGNED_DATA && isOneOf(PKCS7_LABELS, block.label)) {
        return addSignedData(block.content, result);
    }
    if (type != CertificateType::SIGNED_DATA && isOneOf(CERTIFICATE_LABELS, block.label)) {
        return addCertificate(block.content, result);
    }
    if (holdsPrivateKey(block)) {
        return addPrivateKey(block, result);
    }
    if (block.label != EC_PARAMETERS_LABEL) {
        return "the text holds a \"" + block.label +
               "\" block, which does not belong into its certificate type";
    }
    return std::nullopt;
}

Fault countFault(std::size_t count, CertificateType type) {
    if (count == 0) {
        return "the text holds no certificate";
    }
    if (type == CertificateType::SINGLE && count > 1) {
        return "the text holds more than one certificate; its type must be PEMchain";
    }
    if (count > MOST_CERTIFICATES) {
        return "the text holds more than " + std::to_string(MOST_CERTIFICATES) + " certificates";
    }
    return std::nullopt;
}

bool hasDuplicate(const CertificateChain& chain) {
    for (auto one = chain.begin(); one != chain.end(); ++one) {
        if (std::any_of(one + 1, chain.end(), [&](const CertificateHandle& other) {
                return X509_cmp(one->get(), other.get()) == 0;
            })) {
            return true;
        }
    }
    return false;
}

Fault textFault(std::string_view text, std::size_t longest) {
    if (text.empty()) {
        return "the text is empty";
    }
    if (text.size() > longest) {
        return "the text is longer than " + std::to_string(longest) + " bytes";
    }
    if (text.find('\0') != std::string_view::npos) {
        return "the text holds a NUL character";
    }
    return std::nullopt;
}

Fault chainFault(CertificateChain& chain) {
    if (hasDuplicate(chain)) {
        return "the text holds a certificate twice";
    }
    if (!orderChain(chain, hasIssuerSignature)) {
        return "the certificates of the text do not form one chain";
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

Fault readCertificateBlocks(std::string_view text, CertificateType type, std::size_t longest,
                            CertificateBlocks& result) {
    if (Fault fault = textFault(text, longest)) {
        return fault;
    }
    std::vector<PemBlock> blocks;
    if (Fault fault = splitPemBlocks(text, blocks)) {
        return fault;
    }
    for (PemBlock& block : blocks) {
        if (Fault fault = addBlock(block, type, result)) {
            return fault;
        }
    }
    return countFault(result.certificates.size(), type);
}

Fault readCertificateText(std::string_view text, CertificateType type, ChainAndKey& result,
                          std::size_t longest) {
    CertificateBlocks blocks;
    if (Fault fault = readCertificateBlocks(text, type, longest, blocks)) {
        return fault;
    }
    if (blocks.privateKey) {
        result.privateKey = decodePrivateKey(*blocks.privateKey);
        if (!result.privateKey) {
            return "the private key of the text cannot be decoded";
        }
    }
    result.chain = std::move(blocks.certificates);
    return chainFault(result.chain);
}

std::string certificateText(const CertificateChain& chain, CertificateType type) {
    return type == CertificateType::SIGNED_DATA ? pemText(signedDataOf(chain)) : pemText(chain);
}

KeyHandle readPrivateKey(std::string_view text) {
    std::vector<PemBlock> blocks;
    const bool isOneKey = !splitPemBlocks(text, blocks) && blocks.size() == 1;
    return isOneKey ? decodePrivateKey(blocks.front()) : nullptr;
}
