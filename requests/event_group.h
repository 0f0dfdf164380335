#pragma once

// Event group identifiers: the number that the events of one request share. They run from 1 to a
// maximum and start again, drawn from a counter in Redis that all services share.
//
// Safe on any thread that owns its connection: the counter is advanced atomically. Two callers at
// the wrap may both receive the maximum.

#include <cstdint>

class Logger;
struct redisContext;

// The identifier for the next request's events, in 1 to the maximum. Works without a usable counter
// too: a failed command restarts the counter at 1.
[[nodiscard]] std::uint32_t getNextEventGroupId(redisContext* context, Logger* logger);

// The largest identifier, from the setting MAX_EVENT_GROUP_ID, read until it is usable and then
// kept for the life of the process; 2147483647 while it is not usable.
[[nodiscard]] std::uint32_t getMaxEventGroupId(redisContext* context, Logger* logger);
