#pragma once

// What ends a command of the front end early: a text for the person, a hint on what to do about it,
// and the exit status.

#include <stdexcept>
#include <string>
#include <utility>

// Exit statuses of certificatectl; `certificatectl --help` lists them.
constexpr int EXIT_OK = 0;
constexpr int EXIT_REFUSED = 1;       // the service refused or failed, and said so
constexpr int EXIT_USAGE = 2;         // the command line is wrong
constexpr int EXIT_NO_REDIS = 3;      // Redis cannot be reached, or refuses a command
constexpr int EXIT_NO_ANSWER = 4;     // nobody listens, or no answer in time
constexpr int EXIT_LOCAL_FILE = 5;    // a file of this machine cannot be used
constexpr int EXIT_INTERRUPTED = 130; // Ctrl-C while waiting

struct FrontEndError : std::runtime_error {
    FrontEndError(int exitStatus, const std::string& text, std::string whatToDo = {})
        : std::runtime_error(text), exitCode(exitStatus), hint(std::move(whatToDo)) {}

    int exitCode;
    std::string hint; // may be empty
};
