#pragma once

// Who may use the service, and how fast passwords may be tried.
//
// An address that has tried a wrong password waits before its next attempt is looked at, twice as
// long after each attempt, up to a limit. Attempts made at a time get their turns one behind the
// other; what would have to wait for longer than the limit gets no turn and is refused unseen. An
// address that is silent for a while, or that knows the password, begins afresh.

#include "frontend/web/service/secrets.h"
#include "frontend/web/service/time_source.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

inline constexpr std::chrono::milliseconds FIRST_LOGIN_DELAY{100};
inline constexpr std::chrono::milliseconds LONGEST_LOGIN_DELAY{5000};
inline constexpr std::chrono::minutes LOGIN_MEMORY{15};

// As many addresses are remembered; the one that has been silent longest makes room.
inline constexpr std::size_t MOST_LOGIN_ADDRESSES = 1000;

// Safe on any thread.
class LoginGuard {
public:
    LoginGuard(const std::string& user, const std::string& password,
               TimeSource timeSource = Clock::now);

    // Whether these are the service's user and password. Takes the same time whatever differs.
    // Throws Refusal (503), without a look at them, when the address tries more at a time than have
    // a turn. To be called when the time of delayFor is over.
    [[nodiscard]] bool accepts(const std::string& user, const std::string& password,
                               const std::string& address);

    // How long an attempt that this address makes now must wait before it is looked at: 0 for an
    // address without wrong passwords, LONGEST_LOGIN_DELAY at most. Each call is an attempt.
    [[nodiscard]] std::chrono::milliseconds delayFor(const std::string& address);

private:
    // Of an address that has tried a wrong password.
    struct Attempts {
        int count = 0;                // with those that wait
        int turns = 0;                // given and not used yet
        Clock::time_point nextTurn;   // of the next attempt
        Clock::time_point lastChange; // when the last attempt was made
    };

    // All need the lock.
    [[nodiscard]] Attempts* find(const std::string& address);
    void forgetOne();
    void noteFailure(const std::string& address);

    void takeTurn(const std::string& address);

    SecretDigest userDigest;
    SecretDigest passwordDigest;
    TimeSource now;
    std::mutex mutex;
    std::map<std::string, Attempts> attempts; // by address; guarded by the mutex
};
