#pragma once

// Versions, service root, service document and metadata (DSP0266, 8): open without login.

#include "frontend/web/service/route.h"

[[nodiscard]] Routes serviceRootRoutes();
