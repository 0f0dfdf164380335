// Blocks are sorted by label; each must decode to exactly one object with no byte left over.

#include "platform/certificate_backend/certificate_text.h"

#include "platform/certificate_backend/pem_blocks.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

constexpr std::size_t MOST_CERTIFICATES = 16;

using Labels = std::array<std::string_view, 3>;
constexpr Labels CERTIFICATE_LABELS = {"CERTIFICATE", "X509 CERTIFICATE"};
constexpr Labels PKCS7_LABELS = {"PKCS7", "PKCS #7 SIGNED DATA"};
constexpr Labels KEY_LABELS = {"PRIVATE KEY", "RSA PRIVATE KEY", "EC PRIVATE KEY"};
constexpr std::string_view ENCRYPTED_KEY_LABEL = "ENCRYPTED PRIVATE KEY";
constexpr std::string_view EC_PARAMETERS_LABEL = "EC PARAMETERS"; // written before an EC key

bool isOneOf(const Labels& labels, const std::string& label) {
    return std::find(labels.begin(), labels.end(), label) != labels.end();
}

std::string addCertificate(const SecretBytes& content, CertificateText& result) {
    const unsigned char* position = content.data();
    CertificateHandle certificate(d2i_X509(nullptr, &position, static_cast<long>(content.size())));
    if (!certificate || position != content.data() + content.size()) {
        return "a certificate of the text cannot be decoded";
    }
    result.chain.push_back(std::move(certificate));
    return {};
}

std::string addSignedData(const SecretBytes& content, CertificateText& result) {
    const unsigned char* position = content.data();
    const SignedDataHandle data(d2i_PKCS7(nullptr, &position, static_cast<long>(content.size())));
    if (!data || position != content.data() + content.size()) {
        return "the PKCS7 block of the text cannot be decoded";
    }
    if (!isSignedData(data.get())) {
        return "the PKCS7 block of the text is not signed data";
    }
    CertificateChain certificates = certificatesOf(data.get());
    std::move(certificates.begin(), certificates.end(), std::back_inserter(result.chain));
    return {};
}

std::string addPrivateKey(const SecretBytes& content, CertificateText& result) {
    if (result.privateKey) {
        return "the text holds more than one private key";
    }
    const unsigned char* position = content.data();
    result.privateKey.reset(
        d2i_AutoPrivateKey(nullptr, &position, static_cast<long>(content.size())));
    return result.privateKey ? "" : "the private key of the text cannot be decoded";
}

std::string addBlock(const PemBlock& block, CertificateType type, CertificateText& result) {
    if (block.encrypted || block.label == ENCRYPTED_KEY_LABEL) {
        return "the private key of the text is encrypted";
    }
    if (type == CertificateType::SIGNED_DATA ? isOneOf(PKCS7_LABELS, block.label)
                                             : isOneOf(CERTIFICATE_LABELS, block.label)) {
        return type == CertificateType::SIGNED_DATA ? addSignedData(block.content, result)
                                                    : addCertificate(block.content, result);
    }
    if (isOneOf(KEY_LABELS, block.label)) {
        return addPrivateKey(block.content, result);
    }
    return block.label == EC_PARAMETERS_LABEL
               ? ""
               : "the text holds a \"" + block.label +
                     "\" block, which does not belong into its certificate type";
}

std::string countFault(std::size_t count, CertificateType type) {
    if (count == 0) {
        return "the text holds no certificate";
    }
    if (type == CertificateType::SINGLE && count > 1) {
        return "the text holds more than one certificate; its type must be PEMchain";
    }
    return count > MOST_CERTIFICATES
               ? "the text holds more than " + std::to_string(MOST_CERTIFICATES) + " certificates"
               : "";
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

std::string textFault(std::string_view text, std::size_t longest) {
    if (text.empty()) {
        return "the text is empty";
    }
    if (text.size() > longest) {
        return "the text is longer than " + std::to_string(longest) + " bytes";
    }
    return text.find('\0') == std::string_view::npos ? "" : "the text holds a NUL character";
}

std::string chainFault(CertificateChain& chain) {
    if (hasDuplicate(chain)) {
        return "the text holds a certificate twice";
    }
    return orderChain(chain, hasIssuerSignature)
               ? ""
               : "the certificates of the text do not form one chain";
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

CertificateText readCertificateText(std::string_view text, CertificateType type,
                                    std::size_t longest) {
    CertificateText result;
    result.fault = textFault(text, longest);
    if (!result.fault.empty()) {
        return result;
    }
    PemBlocks pem = splitPemBlocks(text);
    result.fault = pem.fault;
    for (std::size_t i = 0; i < pem.blocks.size() && result.fault.empty(); ++i) {
        result.fault = addBlock(pem.blocks[i], type, result);
    }
    if (result.fault.empty()) {
        result.fault = countFault(result.chain.size(), type);
    }
    if (result.fault.empty()) {
        result.fault = chainFault(result.chain);
    }
    return result;
}

std::string certificateText(const CertificateChain& chain, CertificateType type) {
    return type == CertificateType::SIGNED_DATA ? pemText(signedDataOf(chain)) : pemText(chain);
}
