#pragma once

// The queue between the action listener, which accepts signing requests that run as tasks, and the
// worker, which carries them out: first in, first out, without bound.

#include "platform/certificate_backend.h"

#include <pthread.h>

#include <deque>
#include <string>

// Owned by the queue while queued, by the worker from the moment it takes it.
struct PendingCSR {
    CSRRequest request;
    std::string taskUri;
    std::string collectionUri;
};

// Mutex and condition are plain POSIX objects, which need no destruction: when the process ends
// while the worker still waits, destroying a condition would wait for it for ever.
struct PendingCSRQueue {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t notEmpty = PTHREAD_COND_INITIALIZER;
    std::deque<PendingCSR*> entries; // guarded by mutex; the front is the oldest
};

extern PendingCSRQueue pendingCSRQueue;

// Queues the record and wakes the worker.
void pushPendingCSR(PendingCSR* record);

// Waits until the queue holds an entry and takes the oldest. A null entry is returned and stays
// where it is.
[[nodiscard]] PendingCSR* takePendingCSR();
