#pragma once

// Session service and sessions (DSP0266, 13.3.4).

#include "frontend/web/service/route.h"

[[nodiscard]] Routes sessionRoutes();

// Whether a POST to this URI opens a session.
[[nodiscard]] bool isSessionCreation(const std::string& uri);
