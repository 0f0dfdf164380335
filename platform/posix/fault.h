#pragma once

#include <optional>
#include <string>

// Why something is refused or cannot be done, as part of a sentence; nothing when all is well.
using Fault = std::optional<std::string>;
