#pragma once

// The answer to a request that changed nothing.

#include <string>

struct redisContext;

// Writes the status "OK_RES" with a Redfish error body (DSP0266, error responses) that holds the
// one message. Three hash fields; the rest of the status record stays as it is, and failures are
// ignored.
void writeNoOperationResponse(redisContext* context, const std::string& statusKey,
                              const std::string& messageId);
