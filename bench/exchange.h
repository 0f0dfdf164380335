#pragma once

// Captured wire bytes and their replay: the floor under everything that talks to Redis.
//
// An exchange is what a client writes before it waits, and the number of replies that it then
// takes. Replaying it costs what hiredis and the server cost; all else is the daemon's own.

#include "bench/connection.h"
#include "tests/support/commands.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct Exchange {
    std::string bytes;       // commands in the form that clients send (RESP)
    std::size_t replies = 0; // one for each command
};
using Exchanges = std::vector<Exchange>;

// The number of commands in the text; nothing when it ends inside a command or is none.
[[nodiscard]] std::optional<std::size_t> countCommands(std::string_view bytes);

// The name of the exchange's first command.
[[nodiscard]] std::string firstCommandName(const Exchange& exchange);

// The commands as one exchange.
[[nodiscard]] Exchange makeExchange(const Commands& commands);

// All of these throw std::runtime_error when a reply does not come.

// The next reply.
[[nodiscard]] BenchReply takeReply(redisContext* context);

// Sends the command and takes its reply.
[[nodiscard]] BenchReply ask(redisContext* context, const Command& command);

// Writes each exchange with hiredis, takes its replies one by one and frees them.
void replay(redisContext* context, const Exchange& exchange);
void replay(redisContext* context, const Exchanges& exchanges);
