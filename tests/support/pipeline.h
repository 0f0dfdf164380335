#pragma once

// Commands appended to a hiredis connection and not sent yet.

#include "tests/support/commands.h"

#include <string>

struct redisContext;

// The commands in the connection's output buffer, oldest first. The buffer is not changed.
[[nodiscard]] Commands pendingCommands(const redisContext* context);

// The commands of a text in the form that clients send: arrays of bulk strings (RESP). Throws
// std::runtime_error when the text is of another form or ends inside a command.
[[nodiscard]] Commands parseCommands(const std::string& text);
