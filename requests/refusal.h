#pragma once

// Answers to requests that are not carried out.

#include "requests/return_status.h"

#include <string>
#include <vector>

// "FAILURE" with this message: the request itself is at fault.
[[nodiscard]] Answer failureAnswer(const std::string& messageId,
                                   const std::vector<std::string>& messageArgs);

// "EXCEPTION" with DatabaseOperationError: the outcome before anything is decided.
[[nodiscard]] Answer defaultAnswer();

// "EXCEPTION" with ServiceTemporarilyUnavailable: to be tried again in a second.
[[nodiscard]] Answer busyAnswer();

// Logs the reason, then writes the answer. Always false (the 0 of a handler that stops), so that a
// handler can end with this call.
bool refuseRequest(const AnswerPlace& place, const std::string& reason,
                   const Answer& answer = defaultAnswer());
