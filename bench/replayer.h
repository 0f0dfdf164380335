#pragma once

// A process in the daemon's place that does the least a request needs: it waits for the message as
// a listener does, sends the captured commands with the same waits, and makes the bare calls where
// the backend would be called. What it takes is the floor of a request.

#include "bench/bare_checks.h"
#include "bench/exchange.h"

#include <sys/types.h>

#include <string>

// What the backend's call is replaced by.
enum class BareCall { NONE, CREATE, REMOVE, REPLACE, SIGNING_REQUEST };

struct ReplayScript {
    std::string channel;          // where requests for it are announced
    Exchanges exchanges;          // the whole request, the answer's publication included
    bool freshConnection = false; // one for each request, as creations and deletions take it
    BareCall bareCall = BareCall::NONE;
    BareInput bareInput;
};

class ReplayerProcess {
public:
    // Starts it and waits until it listens. Throws std::runtime_error when it does not.
    ReplayerProcess(const std::string& socketPath, const ReplayScript& script);
    ~ReplayerProcess();
    ReplayerProcess(const ReplayerProcess&) = delete;
    ReplayerProcess& operator=(const ReplayerProcess&) = delete;

    [[nodiscard]] pid_t pid() const {
        return mPid;
    }

private:
    pid_t mPid;
};
