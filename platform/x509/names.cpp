#include "platform/x509/names.h"

#include "platform/x509/memory_text.h"
#include "platform/x509/utf8.h"

#include <openssl/objects.h>

#include <array>

namespace {

struct KnownPart {
    int attribute; // OpenSSL's number
    std::string_view property;
};

constexpr std::array<KnownPart, 7> KNOWN_PARTS = {{
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
    std::string shown = withMisleadingEscaped(
        {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
    OPENSSL_free(text);
    return shown;
}

// The place of the attribute's last entry; -1 when there is none.
int lastIndexOf(const X509_NAME* name, int attribute) {
    int last = -1;
    for (int next = X509_NAME_get_index_by_NID(name, attribute, -1); next >= 0;
         next = X509_NAME_get_index_by_NID(name, attribute, last)) {
        last = next;
    }
    return last;
}

std::vector<std::string> printableParts(const X509_NAME* name, int attribute, int except) {
    std::vector<std::string> values;
    int index = X509_NAME_get_index_by_NID(name, attribute, -1);
    for (; index >= 0; index = X509_NAME_get_index_by_NID(name, attribute, index)) {
        const auto value = utf8Of(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
        if (value && index != except) {
            values.push_back(withUnprintableEscaped(*value));
        }
    }
    return values;
}

// Letters outside ASCII stand as they are; so do bytes that are no text at all.
std::optional<std::string> printedName(const X509_NAME* name, unsigned long flags) {
    const BioHandle memory = newMemory();
    const int length = X509_NAME_print_ex(
        memory.get(), name, 0, flags & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB));
    return length < 0 ? std::nullopt : std::optional<std::string>(writtenText(memory));
}

} // namespace

std::vector<NamePart> namePartsOf(const X509_NAME* name) {
    std::vector<NamePart> parts;
    for (const KnownPart& known : KNOWN_PARTS) {
        const int index = lastIndexOf(name, known.attribute);
        if (index >= 0) {
            const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, index);
            parts.push_back({known.property, utf8Of(X509_NAME_ENTRY_get_data(entry))});
        }
    }
    return parts;
}

std::optional<std::string> wholeName(const X509_NAME* name) {
    const auto text = printedName(name, XN_FLAG_RFC2253);
    return text ? std::optional(withMisleadingEscaped(*text)) : std::nullopt;
}

FurtherParts furtherPartsOf(const X509_NAME* name) {
    const auto beside = [name](int attribute) {
        return printableParts(name, attribute, lastIndexOf(name, attribute));
    };
    return {beside(NID_commonName), beside(NID_organizationalUnitName),
            printableParts(name, NID_domainComponent, -1)};
}

std::optional<std::string> displayedName(const X509_NAME* name) {
    constexpr unsigned long OTHER_FORM = XN_FLAG_DN_REV | XN_FLAG_SEP_MASK;
    const auto text = printedName(name, (XN_FLAG_RFC2253 & ~OTHER_FORM) | XN_FLAG_SEP_CPLUS_SPC);
    return text ? std::optional(withUnprintableEscaped(*text)) : std::nullopt;
}
