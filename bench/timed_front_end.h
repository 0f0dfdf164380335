#pragma once

// The front end's part in a measurement: it brings the database into a known state, announces a
// request and waits for its answer, and measures nothing but that. There is one request at a time,
// under the keys that a FrontEndRequest has of itself.

#include "bench/connection.h"
#include "bench/exchange.h"
#include "bench/measurement.h"

#include <string>

// Throws std::runtime_error when the server or the other side does not answer.
class TimedFrontEnd {
public:
    explicit TimedFrontEnd(const std::string& socketPath);

    // Empties the database and puts the content into it.
    void restore(const Exchange& content);

    // Adds the content to what is there.
    void add(const Exchange& content);

    // Seconds from announcing the request on the channel to its answer.
    double request(const std::string& channel);

    // The same, beside the processor time of the process that answers, with what it does after the
    // answer.
    Cost request(const std::string& channel, pid_t process);

    // The process of the Redis server.
    [[nodiscard]] pid_t server() const;

    // A field of the status record.
    [[nodiscard]] std::string statusField(const std::string& name);

private:
    BenchConnection mCommands;
    BenchConnection mAnswers;
};
