#pragma once

// The backend's record of a signing request, made from the parameters of the action, and the choice
// between carrying it out at once and as a task.

#include "platform/certificate_backend.h"

#include <nlohmann/json_fwd.hpp>

// Fills the record, but for its collection, from the body's members, under their own names. The
// challenge password comes encrypted; record and body then hold its plain text, which the caller
// wipes. Throws nlohmann::json::type_error for a parameter of the wrong type, with the record
// partly filled.
void fillCSRRequest(CSRRequest& request, nlohmann::json& body);

// Overwrites the plain text of the request's challenge password.
void wipeChallengePassword(CSRRequest& request);

// Sets "KeyPairAlgorithm", so that the backend always finds one: RSA for a request that gives only
// a key length, an empty text for any other without an algorithm.
void completeKeyPairAlgorithm(CSRRequest& request);

// Whether a request with a completed algorithm runs as a task: RSA keys take long to make.
[[nodiscard]] bool runsAsTask(const CSRRequest& request);

// Both: completes the algorithm, and tells whether the request runs as a task.
[[nodiscard]] bool isAsyncAlgorithm(CSRRequest& request);
