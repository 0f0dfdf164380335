#include "store/sequence_id.h"

#include "core/redis_reply.h"

#include <limits>
#include <string>

namespace {

constexpr std::int64_t FIRST_ID = 1;
constexpr std::int64_t LARGEST_ID = std::numeric_limits<std::int64_t>::max();

bool setCounter(redisContext* context, const std::string& value) {
    return isStatusOk(sendRedisCommand(context, {"SET", ARRAY_SEQUENCE_ID_KEY, value}));
}

} // namespace

std::int64_t nextArraySequenceId(redisContext* context) {
    const RedisReply reply = sendRedisCommand(context, {"INCR", ARRAY_SEQUENCE_ID_KEY});
    if (isInteger(reply)) {
        return reply->integer;
    }
    return setCounter(context, std::to_string(FIRST_ID)) ? FIRST_ID : NO_SEQUENCE_ID;
}

bool setArraySequenceId(redisContext* context, std::int64_t nextFreeId) {
    const bool outOfRange = nextFreeId < FIRST_ID + 1 || nextFreeId > LARGEST_ID - 1;
    return setCounter(context, std::to_string(outOfRange ? FIRST_ID : nextFreeId - 1));
}

std::int64_t followingSequenceId(std::int64_t id) {
    return id == LARGEST_ID ? FIRST_ID : id + 1;
}
