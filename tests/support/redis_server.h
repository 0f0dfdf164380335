#pragma once

// A real redis-server of a test's own.
//
// It listens on a Unix socket in a folder of its own, and on a TCP port of the sandbox's private
// network when the options name one. Nothing is kept over a restart unless the options ask for it.

#include "tests/support/temp_files.h"

#include <memory>
#include <string>
#include <vector>

class ChildProcess;

struct RedisServerOptions {
    int tcpPort = 0;           // 0: no TCP
    std::string password = {}; // empty: none
    bool keepData = false;
};

// Started and answering at the end of construction, gone with its folder after destruction.
// Everything throws std::runtime_error when the server does not do as it is told.
class RedisServer {
public:
    explicit RedisServer(const RedisServerOptions& options = {});
    ~RedisServer();
    RedisServer(const RedisServer&) = delete;
    RedisServer& operator=(const RedisServer&) = delete;

    [[nodiscard]] std::string socketPath() const;

    [[nodiscard]] const RedisServerOptions& options() const {
        return mOptions;
    }

    // Ends the server, closing every connection. No effect when it is stopped already.
    void stop();

    // Starts the stopped server again on the same socket and port.
    void start();

    void restart() {
        stop();
        start();
    }

    // Freezes the server: connections stay open, nothing is answered until resume().
    void pause();
    void resume();

private:
    [[nodiscard]] std::string log() const;

    RedisServerOptions mOptions;
    TempDirectory mDirectory;
    std::unique_ptr<ChildProcess> mProcess;
};

enum class RedisAddress { UNIX_SOCKET, TCP };

// Writes the files by which the daemon finds the server, each without a line end:
// "/var/run/redis.port" ("0" for the Unix socket), "/var/run/redis.unixsocket" (for the Unix socket
// only) and "/var/run/redis.requirepass" (when there is a password). Removes those that do not
// apply.
void writeConnectionFiles(const RedisServer& server,
                          RedisAddress address = RedisAddress::UNIX_SOCKET);
