#pragma once

// A peer that answers with bytes of the test's choice, for replies that no Redis server gives and
// for looking at the bytes that were sent. Whatever a real server can answer is tested with one.

#include "tests/support/commands.h"
#include "tests/support/temp_files.h"

#include <string>
#include <thread>
#include <vector>

class ScriptedServer {
public:
    // Takes one connection on a Unix socket, and no second one, and answers its first command with
    // the first of these texts, as they stand, and so on. After the last one it sends no more and
    // reads until the client is gone.
    explicit ScriptedServer(std::vector<std::string> answers);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    [[nodiscard]] std::string socketPath() const;

    // The answered commands. The client's connection must be closed.
    [[nodiscard]] Commands received();

private:
    void serve();
    bool readCommand(int client);

    TempDirectory mDirectory;
    std::vector<std::string> mAnswers;
    int mListener;
    Commands mReceived; // the servant's until it is joined
    std::thread mServant;
};
