#pragma once

// The actions of the certificate service and what they take (ActionInfo).

#include "frontend/web/service/route.h"

[[nodiscard]] Routes certificateActionRoutes();
