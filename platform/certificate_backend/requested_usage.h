#pragma once

// Which key usages a signing request may ask for together.

#include "platform/posix/fault.h"
#include "platform/x509/key_usage.h"

#include <string_view>
#include <vector>

// The names of the usages that some request may ask for.
[[nodiscard]] std::vector<std::string_view> requestableUsages();

// Why these usages do not go together, or not with a key of that kind; a sentence that says what
// would be accepted.
[[nodiscard]] Fault keyUsageConflict(const std::vector<KeyUsageValue>& usages,
                                     bool isEllipticCurve);
