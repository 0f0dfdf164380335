#pragma once

// Changes of certificates come one after the other: what the daemon writes, and what this program
// writes behind it, would otherwise mix, and leave a count or a resource that fits neither.

#include <chrono>
#include <condition_variable>
#include <mutex>

// Safe on any thread.
class ChangeQueue {
public:
    // Waits for its turn. False when it has not come by then.
    [[nodiscard]] bool enter(std::chrono::milliseconds longestWait);

    void leave();

private:
    std::mutex mutex;
    std::condition_variable freed;
    bool taken = false; // guarded by the mutex
};

// The turn for one change. Throws Refusal (503) when it has not come in time: a daemon that does
// not answer keeps the others from waiting for it longer than for an answer of their own.
class ChangeTurn {
public:
    explicit ChangeTurn(ChangeQueue& changes);
    ChangeTurn(const ChangeTurn&) = delete;
    ChangeTurn& operator=(const ChangeTurn&) = delete;
    ~ChangeTurn();

private:
    ChangeQueue& queue;
};
