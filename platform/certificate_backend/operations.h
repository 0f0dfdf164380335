#pragma once

// What the exported handlers do, with the surroundings as an argument. A fault of the machine is
// thrown; the handlers turn it into code 500.

#include "platform/certificate_backend.h"
#include "platform/certificate_backend/surroundings.h"

// Code 200, 400 for a certificate or a type that is refused, or 409 when the certificate resource
// is installed already: nothing installed is ever overwritten by a creation.
[[nodiscard]] CreateCertResult createCertificate(const Surroundings& surroundings,
                                                 const CreateCertRequest& request);

// Code 200, or 400 with ResourceMissingAtURI when nothing is installed for the URI.
[[nodiscard]] DeleteCertResult deleteCertificate(const Surroundings& surroundings,
                                                 const std::string& certificateUri);

// Code 200, or 400 for a parameter that is wrong. The key pair is made without holding the lock.
[[nodiscard]] CSRResult generateCsr(const Surroundings& surroundings, const CSRRequest& request);

// Code 200 (with NoOperation when the certificates are the installed ones), or 400 for a
// certificate or a type that is refused, or for a URI at which nothing is installed.
[[nodiscard]] CreateCertResult replaceCertificate(const Surroundings& surroundings,
                                                  const ReplaceCertRequest& request);
