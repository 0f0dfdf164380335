#pragma once

// The exact commands that the server received, in its order.
//
// A connection in MONITOR mode sees every command that the server carries out, so authentication
// (hidden by the server) and commands that it refuses before running them (unknown name, wrong
// number of arguments) do not show. Commands run by a script come from the client "lua".

#include "tests/support/commands.h"
#include "tests/support/redis_client.h"

#include <string>
#include <vector>

class RedisServer;

struct MonitoredCommand {
    std::string client; // "127.0.0.1:PORT", "unix:PATH" or "lua"
    Command words;      // escapes undone: the bytes as they were sent
};

class CommandMonitor {
public:
    // Records from here on.
    explicit CommandMonitor(const RedisServer& server);

    // Ends the recording; everything that the server carried out before this call is in it.
    // A second call gives the same again.
    const std::vector<MonitoredCommand>& stop();

    // stop(), then the words of every command.
    [[nodiscard]] Commands commands();

    // The same for those clients only whose name begins with this text: "unix:" for a daemon on the
    // socket while the test talks over TCP.
    [[nodiscard]] Commands commandsFrom(const std::string& clientPrefix);

private:
    RedisClient mMonitor;
    RedisClient mMarker;
    bool mStopped = false;
    std::vector<MonitoredCommand> mRecorded;
};
