#pragma once

// Subject and issuer of a certificate under the names of Redfish's Identifier.

#include "platform/x509/openssl_handles.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct NamePart {
    std::string_view property;        // "CommonName", "Organization", ...
    std::optional<std::string> value; // nothing when OpenSSL cannot decode it
};

// The parts that the name has, in this order: CommonName, Organization, OrganizationalUnit, City,
// State, Country, Email. Where one is repeated it is the most specific, which is the last in the
// certificate and the first in the order of RFC 4514.
//
// A value is the certificate's own, converted to UTF-8, with what would mislead its reader escaped
// (withMisleadingEscaped). Whoever shows it checks it first: it may hold control characters and
// anything else that the certificate's maker likes.
[[nodiscard]] std::vector<NamePart> namePartsOf(const X509_NAME* name);

// The whole name in the order and with the escapes of RFC 4514, letters outside ASCII as they are;
// nothing when OpenSSL cannot decode it.
[[nodiscard]] std::optional<std::string> wholeName(const X509_NAME* name);

// What Redfish's Identifier shows beside those parts (Certificate 1.6), in the certificate's order.
// Each value is printable (withUnprintableEscaped); those that OpenSSL cannot decode are left out.
struct FurtherParts {
    std::vector<std::string> commonNames;         // without the one that namePartsOf gives
    std::vector<std::string> organizationalUnits; // likewise
    std::vector<std::string> domainComponents;    // all of them
};
[[nodiscard]] FurtherParts furtherPartsOf(const X509_NAME* name);

// The whole name in the certificate's order and with the escapes of RFC 4514, letters outside ASCII
// as they are: "C=DE, O=Example, CN=bmc.example". Printable (withUnprintableEscaped); nothing when
// OpenSSL cannot write it.
[[nodiscard]] std::optional<std::string> displayedName(const X509_NAME* name);
