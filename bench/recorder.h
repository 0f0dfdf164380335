#pragma once

// A proxy in front of redis-server that records what its clients send, exchange by exchange.
//
// It listens on a Unix socket of its own and gives each client a connection to the server. What a
// client sends is held back until it is complete, so that an exchange is never recorded in pieces;
// recording therefore takes time and is never part of a measurement.

#include "bench/exchange.h"

#include <memory>
#include <string>
#include <vector>

class Recorder {
public:
    // Throws std::runtime_error when it cannot listen.
    Recorder(const std::string& socketPath, const std::string& serverSocketPath);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // The connections so far in the order in which they came, each with its exchanges so far.
    [[nodiscard]] std::vector<Exchanges> connections() const;

    // The exchanges of all connections that have come since an earlier look at them.
    [[nodiscard]] Exchanges since(const std::vector<Exchanges>& earlier) const;

private:
    struct State;
    std::unique_ptr<State> mState;
};
