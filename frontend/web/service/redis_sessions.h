#pragma once

// Sessions with Redis that requests share, one after the other.

#include "frontend/exchange/redis_session.h"

#include <mutex>
#include <vector>

// Safe on any thread.
class RedisSessions {
public:
    // A session that answers: one that was given back, or a new one. Throws FrontEndError
    // (NO_REDIS).
    [[nodiscard]] RedisConnection take();

    // Keeps the session for the next one who takes. One that has failed is closed instead.
    void giveBack(RedisConnection session);

private:
    std::mutex mutex;
    std::vector<RedisConnection> idle;
};

// A session for the length of a scope.
class BorrowedSession {
public:
    explicit BorrowedSession(RedisSessions& owner) : sessions(owner), session(owner.take()) {}
    BorrowedSession(const BorrowedSession&) = delete;
    BorrowedSession& operator=(const BorrowedSession&) = delete;
    ~BorrowedSession() {
        sessions.giveBack(std::move(session));
    }

    [[nodiscard]] redisContext* get() const {
        return session.get();
    }

private:
    RedisSessions& sessions;
    RedisConnection session;
};
