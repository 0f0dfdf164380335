#pragma once

// What a certificate's end means for its health: it is near, or it is over.

#include "frontend/web/service/answer.h"

#include <nlohmann/json_fwd.hpp>

#include <ctime>
#include <optional>
#include <string>

enum class CertificateState { GOOD, NEAR_END, ENDED };

// The state, at the moment now, of a certificate that is valid up to and including the end: near
// its end from 30 days before it. Both in seconds since the epoch.
[[nodiscard]] CertificateState certificateState(std::time_t end, std::time_t now);

// What is to be said of a certificate in this state; nothing when it is good. The same at every
// moment, so that entity tags and events do not depend on when it is asked for.
[[nodiscard]] std::optional<RedfishMessage>
certificateMessage(const std::string& uri, std::time_t end, CertificateState state);

// The property Status of the certificate (Resource schema, Status): state, health, and a condition
// when it is not good, with the moment at which it began.
[[nodiscard]] nlohmann::json certificateStatus(const std::string& uri, std::time_t end,
                                               std::time_t now);
