#pragma once

// The names of a subjectAltName extension (RFC 5280, 4.2.1.6), told apart by their form.

#include "platform/x509/openssl_handles.h"

#include <string>

// The name for one element of Redfish's AlternativeNames: an IPv4 or IPv6 address, an e-mail
// address (it has an "@"), a URI (it begins with a scheme and ":"), or a DNS name, which may begin
// with "*.". "DNS:", "IP:", "email:" and "URI:" before the value, in any case, say the form. Null
// when the value is none of these.
[[nodiscard]] GeneralNameHandle alternativeName(const std::string& value);
