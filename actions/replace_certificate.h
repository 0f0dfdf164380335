#pragma once

// The action CertificateService.ReplaceCertificate (Redfish CertificateService schema): puts
// another certificate in the place of an installed one.

#include "platform/certificate_backend.h"

#include <string>

struct redisContext;

// Carries out the action with the parameters stored at requestDataKey and writes the return status.
// True when the backend accepted the request, also when the certificate text was the installed one
// already; false when the status tells a failure. Throws nlohmann::json::type_error for a parameter
// that is missing or of the wrong type. The collection lock is not taken.
bool replaceCertificate(redisContext* context, const std::string& requestDataKey,
                        const std::string& statusKey);

// Closes a replacement: records the private key reference (or removes it when the backend gave
// none), raises the "change" event and writes the status: "OK_RES" with the certificate's URI as
// location, or "EXCEPTION" when the event failed.
void finishCertificateReplace(redisContext* context, const std::string& certificateUri,
                              const CreateCertResult& result, const std::string& statusKey);
