#pragma once

// The exit codes of certificatectl: what each means, and which failure ends with which.

#include "frontend/exchange/front_end_error.h"

#include <string>

inline constexpr int EXIT_DONE = 0;
inline constexpr int EXIT_REFUSED = 1;
inline constexpr int EXIT_USAGE = 2;
inline constexpr int EXIT_NO_REDIS = 3;
inline constexpr int EXIT_NO_ANSWER = 4;
inline constexpr int EXIT_LOCAL_FILE = 5;
inline constexpr int EXIT_EXPIRING = 6;
inline constexpr int EXIT_INTERRUPTED = 130; // as a shell counts: 128 and the signal's number

[[nodiscard]] int exitCodeOf(FailureKind kind);

// What the command line can do about such a failure; empty when nothing.
[[nodiscard]] std::string commandLineHint(FailureKind kind);

// All exit codes with their meanings, one on each line, as --help shows them.
[[nodiscard]] std::string exitCodeHelp();
