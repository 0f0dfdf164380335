#pragma once

// What the tests of the store share: a server, a client whose connection is handed to the store,
// and comparison of everything that came of it.

#include "tests/support/command_monitor.h"
#include "tests/support/commands.h"
#include "tests/support/output_capture.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/wire.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <functional>
#include <string>

// An array configuration.
inline nlohmann::json arrayStyle(int style, double maxSize = 0, bool fillNull = false) {
    return {{"ArrayStyle", style}, {"ArrayMaxSize", maxSize}, {"ArrayNullElement", fillNull}};
}

class StoreFixture : public testing::Test {
protected:
    StoreFixture() : client(server) {
        // As in the daemon: a lost connection is a failed command.
        (void)std::signal(SIGPIPE, SIG_IGN);
    }

    redisContext* context() {
        return client.context();
    }

    // The commands that the work sends, one a line.
    std::string commandsOf(const std::function<void()>& work) {
        CommandMonitor monitor(server);
        work();
        return describeCommands(monitor.commands());
    }

    // How often the work waits for the server, which counts how often it has read from a
    // connection.
    long exchangesOf(const std::function<void()>& work) {
        const long before = serverReads();
        work();
        return serverReads() - before - 1; // the question itself is one
    }

    // What the work prints on standard error.
    static std::string errorsOf(const std::function<void()>& work) {
        const OutputCapture capture(2);
        work();
        return capture.text();
    }

    // Writes the counter from which the next store takes its ids.
    void setCounter(const std::string& value) {
        client.command("SET", "Array-Member-Sequence-ID", value);
    }

    RedisServer server;
    RedisClient client;

private:
    long serverReads() {
        const std::string label = "total_reads_processed:";
        const std::string info = client.command("INFO", "stats").text;
        return std::stol(info.substr(info.find(label) + label.size()));
    }
};
