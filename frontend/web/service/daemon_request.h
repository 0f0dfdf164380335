#pragma once

// Handing a client's request to the daemon, and the daemon's refusals as HTTP sees them.
//
//   the daemon answers                               HTTP
//   carried out, or accepted as a task               (the resource says)
//   Base ServiceTemporarilyUnavailable               503, Retry-After as its argument says
//   Base ResourceAlreadyExists, ResourceInUse        409
//   FAILURE with any other message: the client       400
//   can mend it, a resource that the body names
//   and that is not there included
//   EXCEPTION with any other message                 500
//
// What comes of no answer (FrontEndError) becomes 503 further up.

#include "frontend/exchange/service_request.h"
#include "frontend/web/service/answer.h"

#include <nlohmann/json_fwd.hpp>

// How long a client waits for an answer of the daemon.
inline constexpr double DAEMON_TIMEOUT = 30.0; // seconds

// Sends the request, waits for the answer and removes the records of both, whatever comes of it.
// The head's timeout is set here; the body's texts are wiped. Throws FrontEndError as
// ServiceRequest does.
[[nodiscard]] ServiceAnswer askDaemon(redisContext* session, RequestHead head, nlohmann::json body);

// Throws refusalOf(answer) unless the daemon has accepted the request.
void checkAccepted(const ServiceAnswer& answer);

// The refusal that the table above gives, with the daemon's own message.
[[nodiscard]] Refusal refusalOf(const ServiceAnswer& answer);
