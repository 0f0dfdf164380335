#include "actions/pending_csr.h"

PendingCSRQueue pendingCSRQueue;

namespace {

class QueueLock {
public:
    QueueLock() {
        (void)pthread_mutex_lock(&pendingCSRQueue.mutex);
    }
    ~QueueLock() {
        (void)pthread_mutex_unlock(&pendingCSRQueue.mutex);
    }
    QueueLock(const QueueLock&) = delete;
    QueueLock& operator=(const QueueLock&) = delete;
};

} // namespace

void pushPendingCSR(PendingCSR* record) {
    const QueueLock lock;
    pendingCSRQueue.entries.push_back(record);
    (void)pthread_cond_signal(&pendingCSRQueue.notEmpty);
}

PendingCSR* takePendingCSR() {
    const QueueLock lock;
    while (pendingCSRQueue.entries.empty()) {
        (void)pthread_cond_wait(&pendingCSRQueue.notEmpty, &pendingCSRQueue.mutex);
    }
    PendingCSR* oldest = pendingCSRQueue.entries.front();
    if (oldest != nullptr) {
        pendingCSRQueue.entries.pop_front();
    }
    return oldest;
}
