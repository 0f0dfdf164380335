#pragma once

// The lock that serialises changes of the certificate collections: one mutex, made at start-up,
// which the creation and the deletion handler hold from after the checks of the request record
// until the request has been carried out.

#include <pthread.h>

#include <string>

struct redisContext;

// Tries every 100 ms, 10 times a second and once more, and returns true when the mutex was taken.
// It never waits inside the mutex, and waits once more after the last failed try. False at once
// when seconds * 10 is negative as a 32-bit number.
[[nodiscard]] bool tryLockWithTimeout(pthread_mutex_t* mutex, int seconds);

// Takes the lock for a request, trying for about two seconds. When it stays taken: logs the reason,
// answers "try again" on the return channel, and returns false.
[[nodiscard]] bool lockCollection(redisContext* context, pthread_mutex_t* collectionLock,
                                  const std::string& returnChannel, const std::string& statusKey,
                                  const char* reason);

// Publishes the answer and releases the lock: a failure is answered before the next request may
// begin, a success afterwards.
void unlockAndReply(redisContext* context, pthread_mutex_t* collectionLock,
                    const std::string& returnChannel, const std::string& statusKey, bool succeeded);
