#pragma once

// Which processors the sides of a measurement run on: where the scheduler puts two processes that
// wait for each other decides more than what they do, and for longer than a run.

#include <sys/types.h>

#include <vector>

enum class Placement { ONE_PROCESSOR, TWO_PROCESSORS };

// Whether this process may run on two.
[[nodiscard]] bool hasTwoProcessors();

// The process that serves the Unix socket at the other end of the connected descriptor.
[[nodiscard]] pid_t peerProcess(int descriptor);

// Puts the calling process and these clients on one processor, and the server beside them or on
// another. Children started later stay on their parent's. Throws std::system_error on a failure.
void place(Placement placement, const std::vector<pid_t>& clients, pid_t server);
