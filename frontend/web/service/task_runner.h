#pragma once

// Signing requests that run as tasks, each followed to its end while its client does other things.

#include "frontend/exchange/service_request.h"

#include <nlohmann/json_fwd.hpp>

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// Safe on any thread.
class TaskRunner {
public:
    TaskRunner() = default;
    TaskRunner(const TaskRunner&) = delete;
    TaskRunner& operator=(const TaskRunner&) = delete;
    ~TaskRunner(); // waits until no task is followed any more; interrupt() first makes that soon
};
