#include "platform/x509/certificate_marks.h"

#include <openssl/objects.h>

#include <array>
#include <string_view>

namespace {

using Bytes = std::basic_string_view<unsigned char>;

std::string withColons(Bytes bytes, std::string_view digits) {
    std::string text;
    for (const unsigned char byte : bytes) {
        text += text.empty() ? "" : ":";
        text += {digits[byte >> 4U], digits[byte & 0x0fU]};
    }
    return text;
}

} // namespace

std::string serialNumberOf(const X509* certificate) {
    const ASN1_INTEGER* serial = X509_get0_serialNumber(certificate);
    const Bytes bytes(ASN1_STRING_get0_data(serial),
                      static_cast<std::size_t>(ASN1_STRING_length(serial)));
    const bool isNegative = ASN1_STRING_type(serial) == V_ASN1_NEG_INTEGER;
    return (isNegative ? "-" : "") + withColons(bytes, "0123456789abcdef");
}

std::string signatureAlgorithmOf(const X509* certificate) {
    const X509_ALGOR* algorithm = nullptr;
    X509_get0_signature(nullptr, &algorithm, certificate);
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    std::array<char, 256> name{};
    (void)OBJ_obj2txt(name.data(), static_cast<int>(name.size()), object, 0);
    return name.data();
}

std::string fingerprintOf(const X509* certificate) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    const bool made = X509_digest(certificate, EVP_sha256(), digest.data(), &length) == 1;
    return withColons({digest.data(), made ? length : 0}, "0123456789ABCDEF");
}
