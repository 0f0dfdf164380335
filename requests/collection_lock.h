#pragma once

// The lock that serialises changes of the certificate collections: one mutex, made at start-up,
// which the creation and the deletion handler hold from after the checks of the request record
// until the request has been carried out.
//
// A success is answered with the lock free, so that the next request need not wait for the reply; a
// failure is answered with the lock held, before the next request can begin.

#include <pthread.h>

struct AnswerPlace;

// Tries every 100 ms, 10 times a second and once more, and returns true when the mutex was taken.
// It never waits inside the mutex, and waits once more after the last failed try. False at once
// when seconds * 10 is negative as a 32-bit number.
[[nodiscard]] bool tryLockWithTimeout(pthread_mutex_t* mutex, int seconds);

// Takes the lock for a request, trying for about two seconds. When it stays taken: logs the reason,
// answers "try again", publishes the reply, and returns false.
[[nodiscard]] bool lockCollection(pthread_mutex_t* collectionLock, const AnswerPlace& place,
                                  const char* reason);

// Ends a request that succeeded.
void unlockThenReply(pthread_mutex_t* collectionLock, const AnswerPlace& place);

// Ends a request that failed.
void replyThenUnlock(pthread_mutex_t* collectionLock, const AnswerPlace& place);
