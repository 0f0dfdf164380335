#pragma once

// Waiting for something that another process brings about.

#include <functional>

// Generous limit of every wait, in seconds: a test that gets there has failed.
constexpr double WAIT_LIMIT_SECONDS = 60.0;

// Asks the question again and again, a few milliseconds apart, until it is answered with true or
// the time is over. The last answer.
[[nodiscard]] bool waitUntil(const std::function<bool()>& question,
                             double seconds = WAIT_LIMIT_SECONDS);
