#pragma once

// The names of a subjectAltName extension (RFC 5280, 4.2.1.6), told apart by their form.

#include "platform/x509/openssl_handles.h"

#include <string>
#include <string_view>

// The name for one element of Redfish's AlternativeNames: an IPv4 or IPv6 address, a DNS name,
// which may begin with "*.", a URI, or an e-mail address (it has an "@"). "DNS:", "IP:", "email:"
// and "URI:" before the value, in any case, say the form; without one a URI begins with a scheme
// and
// "//", with "urn:" or with "mailto:". Null when the value is none of these.
[[nodiscard]] GeneralNameHandle alternativeName(const std::string& value);

// Why alternativeName gives null for the value, as a sentence that says what would be accepted.
[[nodiscard]] std::string alternativeNameRefusal(const std::string& value);

// The name for a common name that is a DNS name without "*" or an address; null for any other.
[[nodiscard]] GeneralNameHandle nameOfHost(std::string_view commonName);
