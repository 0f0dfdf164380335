#pragma once

// The action CertificateService.GenerateCSR (Redfish CertificateService schema): makes a signing
// request for a certificate collection, at once or, for RSA keys, as a task.

#include <string>

struct redisContext;

// Carries out the action with the parameters stored at requestDataKey and writes the return status.
// True when a signing request was made or a task was queued, false when the status tells a failure.
// Throws nlohmann::json::type_error for a parameter of the wrong type; the listener lets it end the
// daemon. No reply is published.
bool generateCSR(redisContext* context, const std::string& returnChannel,
                 const std::string& requestDataKey, const std::string& statusKey,
                 const std::string& taskUri);
