#pragma once

// Waiting for published messages.
//
// Every wait ends at a deadline, at Ctrl-C or when the connection is lost; it never blocks for
// good.

#include "frontend/exchange/redis_session.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

using Clock = std::chrono::steady_clock;

struct ChannelMessage {
    std::string channel;
    std::string text;
};

// The moment so many seconds from now.
[[nodiscard]] Clock::time_point deadlineIn(double seconds);

[[nodiscard]] double secondsSince(Clock::time_point start);

// Subscribes the session to the channels. When it returns, the subscriptions hold, so that nothing
// published from now on is missed. The session serves for nothing else then.
void subscribe(redisContext* context, const std::vector<std::string>& channels);

// The next message, or nothing when the deadline has come or the wait was interrupted.
[[nodiscard]] std::optional<ChannelMessage> nextMessage(redisContext* context,
                                                        Clock::time_point deadline);

// Makes Ctrl-C and SIGTERM end waits instead of the process, so that records are cleaned up.
void installInterruptHandler();

[[nodiscard]] bool wasInterrupted();
