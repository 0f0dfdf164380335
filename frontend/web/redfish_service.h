#pragma once

// One request's road through certificateweb: who asks, whether the request is in form, which
// resource answers, and what every answer carries (DSP0266, 7 and 8).

#include "frontend/web/http/http_message.h"
#include "frontend/web/service/web_service.h"

#include <chrono>

// How long the request must wait before it is answered, since its sender has tried wrong passwords.
// Called once for each request; does not wait itself.
[[nodiscard]] std::chrono::milliseconds loginDelay(WebService& service, const HttpRequest& request);

// The answer, whatever happens: refusals and faults of Redis and of the daemon are answers too.
[[nodiscard]] HttpAnswer answerRequest(WebService& service, const HttpRequest& request);

// The answer to a request that cannot be read as one: an error object with the status and the text.
[[nodiscard]] HttpAnswer answerUnreadable(int status, const std::string& text);
