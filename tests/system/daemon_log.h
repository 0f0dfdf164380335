#pragma once

// The daemon as tests see it from outside: its log, its threads and its connections.

#include "tests/support/daemon_process.h"

#include <string>
#include <vector>

class RedisClient;

// Options under which the log goes to a file, each line in one piece whatever the threads do, and
// the steerable certificate backend answers.
[[nodiscard]] DaemonOptions loggingToFile();

// The log file's lines in their order, without times.
[[nodiscard]] std::vector<std::string> logLines(const DaemonProcess& daemon);

// The same without the first line that each of the four threads writes. What start-up itself writes
// comes in its own order; a thread's first line comes whenever that thread has run.
[[nodiscard]] std::vector<std::string> mainLogLines(const DaemonProcess& daemon);

// How many of the log's lines are this one.
[[nodiscard]] std::size_t countLogLines(const DaemonProcess& daemon, const std::string& line);

[[nodiscard]] std::size_t threadCount(const DaemonProcess& daemon);

// The channels that somebody listens on: "1 1 0" for creation, deletion and action.
[[nodiscard]] std::string listening(RedisClient& client);

// The clients of the server, the asking one among them.
[[nodiscard]] std::size_t clientCount(RedisClient& client);

// Those over TCP: the daemon's, when the test is on the socket.
[[nodiscard]] std::size_t tcpClientCount(RedisClient& client);
