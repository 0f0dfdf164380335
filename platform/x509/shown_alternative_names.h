#pragma once

// Alternative names of a certificate (RFC 5280, 4.2.1.6 and 4.2.1.7), as Redfish shows them.

#include "platform/x509/openssl_handles.h"

#include <string>
#include <vector>

// The DNS names, addresses, e-mail addresses and URIs of subjectAltName, in the certificate's
// order; names of other forms are left out. None when the certificate has no such extension, has it
// twice, or OpenSSL cannot decode it.
//
// A name is shown as it is where its form is plain to see, else with "DNS:", "email:" or "URI:"
// before it: a DNS name "10.0.0.1" does not look like the address. Each is printable
// (withUnprintableEscaped).
[[nodiscard]] std::vector<std::string> alternativeNamesOf(const X509* certificate);

// The same of issuerAltName.
[[nodiscard]] std::vector<std::string> issuerAlternativeNamesOf(const X509* certificate);
