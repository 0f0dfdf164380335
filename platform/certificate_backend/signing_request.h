#pragma once

// Making a certification request (PKCS #10, RFC 2986).

#include "platform/certificate_backend/csr_parameters.h"
#include "platform/x509/openssl_handles.h"

#include <string>

// The request: the subject name; subjectAltName, keyUsage (critical) and extendedKeyUsage as
// requested extensions; challengePassword and unstructuredName as attributes (RFC 2985); signed
// with SHA-256, or SHA-384 for P-384 and SHA-512 for P-521. Never null. Throws std::runtime_error
// when OpenSSL cannot make it.
[[nodiscard]] RequestHandle makeSigningRequest(const CsrParameters& parameters, EVP_PKEY* key);

// The request as PEM text. Throws std::runtime_error when OpenSSL cannot write it.
[[nodiscard]] std::string requestText(X509_REQ* request);
