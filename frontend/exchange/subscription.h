#pragma once

// Waiting for published messages.
//
// Every wait ends at its deadline, at an interrupt, or when the connection is lost. Functions throw
// FrontEndError (NO_REDIS) when Redis cannot be reached or refuses a command.

#include "frontend/exchange/deadline.h"
#include "frontend/exchange/redis_session.h"

#include <optional>
#include <string>
#include <vector>

struct ChannelMessage {
    std::string channel;
    std::string text;
};

// Subscribes the session to the channels. When it returns, the subscriptions hold, so that nothing
// published from now on is missed. The session then serves for nothing else.
void subscribe(redisContext* context, const std::vector<std::string>& channels);

// The next message, or nothing when the deadline has come or the wait was interrupted.
[[nodiscard]] std::optional<ChannelMessage> nextMessage(redisContext* context,
                                                        Clock::time_point deadline);
