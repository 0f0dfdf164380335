#include "requests/collection_lock.h"

#include "requests/refusal.h"

#include <unistd.h>

#include <cstdint>

namespace {

constexpr int TRIES_PER_SECOND = 10;
constexpr int LOCK_SECONDS = 2;
constexpr useconds_t PAUSE_MICROSECONDS = 100000;

} // namespace

bool tryLockWithTimeout(pthread_mutex_t* mutex, int seconds) {
    // Computed in 64 bits and cut to 32: the number wraps by rule, without an overflow.
    const auto pauses =
        static_cast<std::int32_t>(static_cast<std::int64_t>(seconds) * TRIES_PER_SECOND);
    for (std::int32_t i = 0; i <= pauses; ++i) {
        if (pthread_mutex_trylock(mutex) == 0) {
            return true;
        }
        (void)usleep(PAUSE_MICROSECONDS);
    }
    return false;
}

bool lockCollection(pthread_mutex_t* collectionLock, const AnswerPlace& place, const char* reason) {
    if (tryLockWithTimeout(collectionLock, LOCK_SECONDS)) {
        return true;
    }
    (void)refuseRequest(place, reason, busyAnswer());
    publishReply(place);
    return false;
}

void unlockThenReply(pthread_mutex_t* collectionLock, const AnswerPlace& place) {
    (void)pthread_mutex_unlock(collectionLock);
    publishReply(place);
}

void replyThenUnlock(pthread_mutex_t* collectionLock, const AnswerPlace& place) {
    publishReply(place);
    (void)pthread_mutex_unlock(collectionLock);
}
