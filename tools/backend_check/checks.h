#pragma once

// The checks: each is one statement about a backend, tried in a child process of its own.

#include "tools/backend_check/trial.h"

#include <vector>

struct Check {
    const char* name; // the statement
    void (*run)(const Trial& trial);
};

// By subject, in the order in which they are run.
[[nodiscard]] std::vector<Check> signingChecks();
[[nodiscard]] std::vector<Check> installationChecks();
[[nodiscard]] std::vector<Check> replacementChecks();
[[nodiscard]] std::vector<Check> hostileChecks();
[[nodiscard]] std::vector<Check> threadChecks();
[[nodiscard]] std::vector<Check> machineChecks(); // files, and what belongs to the whole process
