#pragma once

// What ends the work of a front end early: the kind of failure, a text for the person, and a hint
// on what to do about it. What a kind means to whoever asked, such as an exit status, is for each
// front end to say.

#include <stdexcept>
#include <string>
#include <utility>

enum class FailureKind {
    NO_REDIS,       // Redis cannot be reached, or refuses a command
    NOBODY_LISTENS, // no daemon takes the request
    TIMED_OUT,      // no answer in time
    NO_ANSWER,      // the daemon ended before it answered, or left only a part of its answer
    INTERRUPTED,    // the wait was given up
    LOCAL_FILE,     // a file or device of this machine cannot be used
    BAD_INPUT,      // this cannot be asked for
    NOT_THERE,      // what was asked for does not exist
    TOO_LARGE,      // it exists, but is too large to be shown
};

struct FrontEndError : std::runtime_error {
    FrontEndError(FailureKind failureKind, const std::string& text, std::string whatToDo = {})
        : std::runtime_error(text), kind(failureKind), hint(std::move(whatToDo)) {}

    FailureKind kind;
    std::string hint; // may be empty
};
