#pragma once

// The properties of a certificate as Redfish shows them (Certificate 1.2: KeyUsage, Issuer,
// Subject, ValidNotBefore, ValidNotAfter).

#include "platform/certificate_backend.h"
#include "platform/posix/fault.h"
#include "platform/x509/openssl_handles.h"

// Fills key usage, issuer, subject and dates. The names hold CommonName, Organization,
// OrganizationalUnit, City, State, Country and Email, each where the certificate has it, the most
// specific one where it is repeated.
// Returns why the certificate cannot be shown; the result is then not to be used.
[[nodiscard]] Fault fillProperties(X509* certificate, CreateCertResult& result);
