#pragma once

// Work in a child process, so that its crash or endless wait is a finding and not the end.

#include "tools/backend_check/findings.h"

#include <functional>

// Runs the work in a child of its own, standard output and standard error taken over, and kills it
// after so many seconds. Throws std::runtime_error when there can be no child.
[[nodiscard]] Outcome runInChild(const std::function<void(const Teller&)>& work, double seconds);
