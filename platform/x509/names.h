#pragma once

// Subject and issuer of a certificate under the names of Redfish's Identifier (Certificate 1.2).

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
