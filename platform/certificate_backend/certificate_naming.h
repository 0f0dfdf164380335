#pragma once

// How a refusal names a certificate.

#include "platform/posix/fault.h"
#include "platform/x509/openssl_handles.h"

#include <cstddef>
#include <string>

// "Certificate 1 of the chain (CN=Middle)": the depth is 0 for the one that is to be installed, 1
// for its issuer, and so on; the subject in the order and with the escapes of RFC 4514, its
// beginning when it is long.
[[nodiscard]] std::string certificateNaming(X509* certificate, std::size_t depth);

// The names of the certificate's subject and issuer, in the same form.
[[nodiscard]] std::string subjectNaming(X509* certificate);
[[nodiscard]] std::string issuerNaming(X509* certificate);

// The sentence of a fault that is said of the certificate; nothing when there is none.
[[nodiscard]] Fault saidOf(X509* certificate, std::size_t depth, const Fault& fault);
