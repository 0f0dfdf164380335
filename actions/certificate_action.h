#pragma once

// The entry of the action requests on the certificate service.

#include <string>

struct redisContext;

// Reads the request record, runs the action that its target URI names (compared as a whole, case
// included) and publishes the status key on the return channel; an unknown target is answered with
// ActionNotSupported. True when an action was run, whatever its outcome. A request without keys or
// without a readable record is only logged: nothing is known about where to answer. Throws
// nlohmann::json::type_error for a field of the record that is missing or no string.
bool handleCertificateAction(redisContext* context, const std::string& requestKey,
                             const std::string& statusKey);
