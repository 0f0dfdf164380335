#pragma once

// Who may use the service, and how fast passwords may be tried.

#include <chrono>
#include <map>
#include <mutex>
#include <string>

// Safe on any thread.
class LoginGuard {
public:
    LoginGuard(const std::string& user, const std::string& password);

    // Whether these are the service's user and password. Takes the same time whatever differs.
    // Counts for the growing delay of that address: a wrong password makes it grow, a right one
    // ends it.
    [[nodiscard]] bool accepts(const std::string& user, const std::string& password,
                               const std::string& address);

    // How long an attempt that this address makes now must wait before it is looked at. Each call
    // counts as one attempt, so that attempts made at a time wait for one another. 0 for an address
    // without wrong passwords.
    [[nodiscard]] std::chrono::milliseconds delayFor(const std::string& address);

private:
    struct Attempts {
        int failures = 0;
        std::chrono::steady_clock::time_point next; // when the next attempt is looked at
    };

    std::string userDigest;     // SHA-256, so that lengths do not show
    std::string passwordDigest; // likewise
    std::mutex mutex;
    std::map<std::string, Attempts> attempts; // by address
};
