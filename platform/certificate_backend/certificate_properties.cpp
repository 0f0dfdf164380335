// Names are hostile until shown otherwise: each value must be printable UTF-8, because what is
// returned here goes into JSON documents and onto screens.

#include "platform/certificate_backend/certificate_properties.h"

#include "platform/certificate_backend/board_clock.h"
#include "platform/certificate_backend/key_usage.h"
#include "platform/certificate_backend/utf8.h"

#include <openssl/objects.h>

#include <array>
#include <ctime>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace {

using Identifier = std::unordered_map<std::string, std::string>;

struct NameProperty {
    int attribute; // OpenSSL's number
    const char* property;
};

constexpr std::array<NameProperty, 7> NAME_PROPERTIES = {{
    {NID_commonName, "CommonName"},
    {NID_organizationName, "Organization"},
    {NID_organizationalUnitName, "OrganizationalUnit"},
    {NID_localityName, "City"},
    {NID_stateOrProvinceName, "State"},
    {NID_countryName, "Country"},
    {NID_pkcs9_emailAddress, "Email"},
}};

std::optional<std::string> utf8Of(const ASN1_STRING* value) {
    unsigned char* text = nullptr;
    const int length = ASN1_STRING_to_UTF8(&text, value);
    if (length < 0) {
        return std::nullopt;
    }
    std::string copy(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length));
    OPENSSL_free(text);
    return printableLength(copy) ? std::optional(std::move(copy)) : std::nullopt;
}

std::optional<std::string> wholeName(const X509_NAME* name) {
    const BioHandle memory(BIO_new(BIO_s_mem()));
    constexpr unsigned long FLAGS =
        XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    if (!memory || X509_NAME_print_ex(memory.get(), name, 0, FLAGS) < 0) {
        return std::nullopt;
    }
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &text);
    std::string copy(text == nullptr ? "" : text, static_cast<std::size_t>(length));
    return printableLength(copy) ? std::optional(std::move(copy)) : std::nullopt;
}

bool fillIdentifier(const X509_NAME* name, Identifier& identifier) {
    for (const NameProperty& known : NAME_PROPERTIES) {
        const int index = X509_NAME_get_index_by_NID(name, known.attribute, -1);
        if (index < 0) {
            continue;
        }
        const std::optional<std::string> value =
            utf8Of(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
        if (!value) {
            return false;
        }
        identifier[known.property] = *value;
    }
    const std::optional<std::string> shown = wholeName(name);
    if (shown) {
        identifier["DisplayString"] = *shown;
    }
    return shown.has_value();
}

} // namespace

std::string fillProperties(X509* certificate, CreateCertResult& result) {
    std::tm start{};
    std::tm end{};
    if (!fillIdentifier(X509_get_issuer_name(certificate), result.issuer) ||
        !fillIdentifier(X509_get_subject_name(certificate), result.subject)) {
        return "a name in the certificate is not printable text";
    }
    if (ASN1_TIME_to_tm(X509_get0_notBefore(certificate), &start) != 1 ||
        ASN1_TIME_to_tm(X509_get0_notAfter(certificate), &end) != 1) {
        return "the certificate's validity dates cannot be read";
    }
    result.validNotBefore = isoTime(start);
    result.validNotAfter = isoTime(end);
    result.keyUsage = keyUsageOf(certificate);
    return {};
}
