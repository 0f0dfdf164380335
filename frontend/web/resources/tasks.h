#pragma once

// Task service, tasks and task monitors (DSP0266, 12).

#include "frontend/web/service/route.h"

[[nodiscard]] Routes taskRoutes();
