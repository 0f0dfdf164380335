#include "frontend/web/service/redis_sessions.h"

#include "core/redis_reply.h"

#include <utility>

namespace {

// Whether Redis still answers on it: a session lies idle for as long as nobody asks.
bool answers(redisContext* context) {
    const RedisReply reply(static_cast<redisReply*>(redisCommand(context, "PING")));
    return reply && reply->type != REDIS_REPLY_ERROR;
}

} // namespace

RedisConnection RedisSessions::take() {
    while (true) {
        RedisConnection session;
        {
            const std::lock_guard lock(mutex);
            if (idle.empty()) {
                break;
            }
            session = std::move(idle.back());
            idle.pop_back();
        }
        if (answers(session.get())) {
            return session;
        }
    }
    return openRedisSession();
}

void RedisSessions::giveBack(RedisConnection session) {
    if (session && session->err == 0) {
        const std::lock_guard lock(mutex);
        idle.push_back(std::move(session));
    }
}
