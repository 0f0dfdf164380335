#pragma once

// Task service, tasks and task monitors (DSP0266, 12).

#include "frontend/web/service/route.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

struct redisContext;
struct ServiceAnswer;

[[nodiscard]] Routes taskRoutes();

// Of a task that runs: 202, the monitor in Location, the task's document. Throws Refusal (404) when
// there is no such task. When to ask again is left to the client: there are client libraries that
// cannot wait for the number of seconds that Retry-After tells.
[[nodiscard]] Answer runningTaskAnswer(redisContext* session, const std::string& taskUri);

// The signing request that the daemon has answered with: 200, CSRString and CertificateCollection.
// Throws Refusal (500) when the answer holds none.
[[nodiscard]] Answer signingRequestAnswer(const ServiceAnswer& answer);
