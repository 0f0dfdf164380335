#pragma once

// Certificate service and certificate locations, as Redis holds them.

#include "frontend/web/service/route.h"

[[nodiscard]] Routes certificateServiceRoutes();
