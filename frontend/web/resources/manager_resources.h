#pragma once

// The manager that this service runs on, and its network protocols, which lead to the certificates
// of HTTPS.

#include "frontend/web/service/route.h"

inline constexpr char MANAGERS_URI[] = "/redfish/v1/Managers";

[[nodiscard]] Routes managerRoutes();
