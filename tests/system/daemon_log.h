#pragma once

// The daemon's log in tests of the whole daemon.

#include "tests/support/daemon_process.h"

#include <string>
#include <vector>

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
