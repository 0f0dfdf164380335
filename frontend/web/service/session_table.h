#pragma once

// The sessions of the Redfish session service (DSP0266, 13.3.4). They live in memory alone and end
// with the program.

#include "frontend/web/service/secrets.h"
#include "frontend/web/service/time_source.h"

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

struct WebSession {
    std::string id; // part of its URI; says nothing about its token
    std::string user;
    std::string clientAddress;
    std::string createdTime; // ISO 8601, UTC
};

struct NewSession {
    WebSession session;
    std::string token; // for X-Auth-Token; known to the client alone
};

// A session ends after this time without a request; an open event stream does not keep it.
inline constexpr std::chrono::minutes SESSION_TIMEOUT{30};

// Safe on any thread. A session that has been silent for too long is gone for every function.
class SessionTable {
public:
    explicit SessionTable(std::size_t mostSessions, TimeSource timeSource = Clock::now)
        : maxSessions(mostSessions), now(std::move(timeSource)) {}

    // Nothing when there are as many sessions as may be.
    [[nodiscard]] std::optional<NewSession> open(const std::string& user,
                                                 const std::string& clientAddress);

    // The session of the token, which begins its time anew; nothing when there is none. Takes the
    // same time for any wrong token.
    [[nodiscard]] std::optional<WebSession> use(const std::string& token);

    [[nodiscard]] std::optional<WebSession> find(const std::string& id);
    [[nodiscard]] std::vector<WebSession> list(); // oldest first

    // Ends the session. False when there is none.
    bool close(const std::string& id);

private:
    struct Entry {
        WebSession session;
        SecretDigest tokenDigest;
        Clock::time_point lastUse;
    };

    void dropSilent(); // needs the lock

    std::size_t maxSessions;
    TimeSource now;
    std::mutex mutex;
    std::vector<Entry> entries; // oldest first; guarded by the mutex
};
