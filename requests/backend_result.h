#pragma once

// What the result codes of the certificate backend mean for a request: 200, 400, and all others.

#include "requests/return_status.h"

#include <cstdint>
#include <string>

// Whether the backend has carried the request out.
[[nodiscard]] bool isBackendSuccess(std::int32_t code);

// The answer to a result of another code: "FAILURE" for 400, "EXCEPTION" for the rest, with the
// backend's message; where its identifier is empty, BadRequest or DatabaseOperationError.
[[nodiscard]] Answer backendFailure(std::int32_t code, const MessageInfo& message);

// Writes that answer.
void writeErrorReturnStatus(redisContext* context, const std::string& statusKey, std::int32_t code,
                            const MessageInfo& info);
