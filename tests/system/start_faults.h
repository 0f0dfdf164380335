#pragma once

// The test's side of the faulty configuration library (tests/system/faulty_configuration): faults
// that the machine brings into start-up at one exact place.

#include "tests/support/daemon_process.h"

#include <string>
#include <vector>

// "pthread_create:3" is the third call of that function; also "pthread_join" and
// "pthread_mutex_init".
struct StartFaults {
    std::vector<std::string> failing = {}; // report an error
    std::vector<std::string> passing = {}; // report success, doing nothing
    std::string held = {};                 // waits for releaseHeldStart()
    std::string exception = {};            // "runtime_error", "logic_error", "bad_alloc"
    std::string exceptionText = {};
    std::string printed = {}; // on standard output, by a library
};

// The options with these faults and the steerable certificate backend.
[[nodiscard]] DaemonOptions withFaults(const StartFaults& faults, DaemonOptions options = {});

// Waits until the held call has been reached.
[[nodiscard]] bool waitForHeldStart();

// Lets the held call go on.
void releaseHeldStart();

// Whether the started daemon may leave a core file: "1", or "0" when it has forbidden that.
[[nodiscard]] std::string mayLeaveCoreFile();
