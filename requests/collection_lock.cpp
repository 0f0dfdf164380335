#include "requests/collection_lock.h"

#include "core/logger.h"
#include "requests/return_status.h"

#include <unistd.h>

#include <cstdint>

namespace {

constexpr int TRIES_PER_SECOND = 10;
constexpr int LOCK_SECONDS = 2;
constexpr useconds_t PAUSE_MICROSECONDS = 100000;

} // namespace

bool tryLockWithTimeout(pthread_mutex_t* mutex, int seconds) {
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

bool lockCollection(redisContext* context, pthread_mutex_t* collectionLock,
                    const std::string& returnChannel, const std::string& statusKey,
                    const char* reason) {
    if (tryLockWithTimeout(collectionLock, LOCK_SECONDS)) {
        return true;
    }
    gLogger->error("%s", reason);
    writeBusyReturnStatus(context, statusKey);
    publishReply(context, returnChannel, statusKey);
    return false;
}

void unlockAndReply(redisContext* context, pthread_mutex_t* collectionLock,
                    const std::string& returnChannel, const std::string& statusKey,
                    bool succeeded) {
    if (succeeded) {
        (void)pthread_mutex_unlock(collectionLock);
        publishReply(context, returnChannel, statusKey);
    } else {
        publishReply(context, returnChannel, statusKey);
        (void)pthread_mutex_unlock(collectionLock);
    }
}
