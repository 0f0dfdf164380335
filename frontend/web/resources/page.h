#pragma once

// The page for the browser: static files that are part of the program.

#include "frontend/web/service/route.h"

[[nodiscard]] Routes pageRoutes();
