#include "frontend/web/service/login_guard.h"

#include "frontend/web/service/answer.h"

#include <algorithm>

namespace {

using std::chrono::milliseconds;

// Requests that were under way when the first of them turned out to be wrong; as many as the
// server answers at a time.
constexpr int TURNS_UNDER_WAY = 64;

milliseconds delayAfter(int attemptCount) {
    milliseconds delay = FIRST_LOGIN_DELAY;
    for (int i = 1; i < attemptCount && delay < LONGEST_LOGIN_DELAY; ++i) {
        delay *= 2;
    }
    return std::min(delay, LONGEST_LOGIN_DELAY);
}

} // namespace

LoginGuard::LoginGuard(const std::string& user, const std::string& password, TimeSource timeSource)
    : userDigest(digestSecret(user)), passwordDigest(digestSecret(password)),
      now(std::move(timeSource)) {}

LoginGuard::Attempts* LoginGuard::find(const std::string& address) {
    const auto found = attempts.find(address);
    if (found != attempts.end() && now() - found->second.lastChange >= LOGIN_MEMORY) {
        attempts.erase(found);
        return nullptr;
    }
    return found == attempts.end() ? nullptr : &found->second;
}

void LoginGuard::forgetOne() {
    const auto oldest =
        std::min_element(attempts.begin(), attempts.end(), [](const auto& left, const auto& right) {
            return left.second.lastChange < right.second.lastChange;
        });
    attempts.erase(oldest);
}

void LoginGuard::noteFailure(const std::string& address) {
    if (find(address) != nullptr) {
        return; // counted when it was made
    }
    if (attempts.size() >= MOST_LOGIN_ADDRESSES) {
        forgetOne();
    }
    attempts[address] = {1, TURNS_UNDER_WAY, now() + delayAfter(1), now()};
}

void LoginGuard::takeTurn(const std::string& address) {
    const std::lock_guard lock(mutex);
    Attempts* const known = find(address);
    if (known == nullptr) {
        return;
    }
    if (known->turns == 0) {
        throw serviceUnavailable("Too many passwords are tried from this address at a time.");
    }
    --known->turns;
}

bool LoginGuard::accepts(const std::string& user, const std::string& password,
                         const std::string& address) {
    takeTurn(address);
    const bool isUser = isSameSecret(digestSecret(user), userDigest);
    const bool isPassword = isSameSecret(digestSecret(password), passwordDigest);
    const std::lock_guard lock(mutex);
    if (isUser && isPassword) {
        attempts.erase(address);
        return true;
    }
    noteFailure(address);
    return false;
}

milliseconds LoginGuard::delayFor(const std::string& address) {
    const std::lock_guard lock(mutex);
    Attempts* const known = find(address);
    if (known == nullptr) {
        return milliseconds(0);
    }
    known->lastChange = now();
    const Clock::time_point turn = std::max(known->nextTurn, now());
    const auto wait = std::chrono::ceil<milliseconds>(turn - now());
    if (wait > LONGEST_LOGIN_DELAY) {
        return LONGEST_LOGIN_DELAY;
    }
    ++known->turns;
    ++known->count;
    known->nextTurn = turn + delayAfter(known->count);
    return wait;
}
