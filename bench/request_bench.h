#pragma once

// What a request costs, beside a replay of its own commands with the same waits.

#include <string>

class RedisServer;

// Largest ratios of the elapsed times on one processor.
struct RequestGoals {
    double creation;
    double deletion;
    double replacement;
    double signingRequest;
};

struct BackendChoice {
    std::string name;        // as it is called in the rows
    std::string libraryPath; // where its library lies; empty: the reference backend
    RequestGoals goals;
};

// Captures a creation, a deletion, a replacement and a synchronous signing request from a daemon of
// its own, then measures each that many rounds, daemon and replay in turn, first on one processor
// and then with the server on another one, and prints their rows.
// With the reference backend the replay makes the bare calls too. Throws std::runtime_error when a
// request is not answered as it should be.
void measureRequests(const RedisServer& server, const BackendChoice& backend, int rounds);
