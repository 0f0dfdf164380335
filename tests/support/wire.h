#pragma once

// What goes over a connection to Redis, as bytes, for proxies and for commands not sent yet.
//
// Bytes are read with hiredis's own reader: a command is an array of texts, and of a reply only its
// end matters, so that it can be passed on as it came.

#include "tests/support/commands.h"

#include <memory>
#include <string>

struct redisContext;
struct redisReader;
struct redisReply;

// Throws std::runtime_error for bytes that Redis would not send or take.
class WireReader {
public:
    WireReader();
    ~WireReader();

    void feed(const std::string& bytes);

    // Waits for bytes from the socket, feeds them and gives them; empty at the connection's end.
    std::string receive(int socket);

    // Goes on to the next command or reply. False when it has not come whole yet.
    [[nodiscard]] bool next();

    // The words of the command that next() has found.
    [[nodiscard]] Command words() const;

private:
    struct Release {
        void operator()(redisReader* reader) const;
        void operator()(redisReply* reply) const;
    };

    std::unique_ptr<redisReader, Release> mReader;
    std::unique_ptr<redisReply, Release> mValue;
};

// The command as clients send it.
[[nodiscard]] std::string wireForm(const Command& command);

// False when the other side is gone.
[[nodiscard]] bool sendAll(int socket, const std::string& bytes);

// Sends the command and gives the bytes of its reply; empty when the server is gone.
[[nodiscard]] std::string askServer(int socket, const Command& command);

// The commands in the connection's output buffer, appended and not sent yet, oldest first. The
// buffer is not changed.
[[nodiscard]] Commands pendingCommands(const redisContext* context);

// The commands of a text. Throws std::runtime_error when it holds anything else or ends inside a
// command.
[[nodiscard]] Commands parseCommands(const std::string& text);
