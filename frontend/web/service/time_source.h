#pragma once

// Where a part that counts time learns what moment it is, so that whoever makes the part may say.

#include "frontend/exchange/deadline.h"

#include <functional>

using TimeSource = std::function<Clock::time_point()>;
