#pragma once

// Event service, its open streams as event destinations, and the stream itself (DSP0266, 12.5).

#include "frontend/web/service/route.h"

[[nodiscard]] Routes eventRoutes();
