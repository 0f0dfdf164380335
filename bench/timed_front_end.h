#pragma once

// The front end's part in a measurement: it brings the database into a known state, announces a
// request and waits for its answer, and times nothing but that.

#include "bench/connection.h"
#include "bench/exchange.h"

#include <string>

class RedisClient;

// One request of the measurement at a time: its keys are always the same.
inline constexpr const char* REQUEST_KEY = "requests/1";
inline constexpr const char* BODY_KEY = "requests/1/body";
inline constexpr const char* STATUS_KEY = "status/1/result";
inline constexpr const char* RETURN_CHANNEL = "answers/1";

// What a database holds, as the commands that put it into an empty one. Lifetimes are not kept.
[[nodiscard]] Exchange databaseContent(RedisClient& client);

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

    // A field of the status record.
    [[nodiscard]] std::string statusField(const std::string& name);

private:
    BenchConnection mCommands;
    BenchConnection mAnswers;
};
