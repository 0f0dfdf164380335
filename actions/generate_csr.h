#pragma once

// The action CertificateService.GenerateCSR (Redfish CertificateService schema): makes a signing
// request for a certificate collection, at once or, for RSA keys, as a task.

#include "platform/certificate_backend.h"

#include <string>

struct redisContext;

// Carries out the action with the parameters stored at requestDataKey and writes the return status.
// True when a signing request was made or a task was queued, false when the status tells a failure.
// Throws nlohmann::json::type_error for a parameter of the wrong type; the listener lets it end the
// daemon. The return channel is the dispatcher's business.
bool generateCSR(redisContext* context, const std::string& returnChannel,
                 const std::string& requestDataKey, const std::string& statusKey,
                 const std::string& taskUri);

// Decides whether the request runs as a task, and completes its "KeyPairAlgorithm": a request that
// gives only a key length means RSA; any other without an algorithm gets an empty one.
[[nodiscard]] bool isAsyncAlgorithm(CSRRequest& request);
