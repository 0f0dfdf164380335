// The collection lock: how often it is tried, and in which order a request is unlocked and
// answered.

#include "requests/collection_lock.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"

#include <chrono>
#include <climits>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

class Mutex {
public:
    Mutex() {
        pthread_mutex_init(&mMutex, nullptr);
    }
    ~Mutex() {
        pthread_mutex_destroy(&mMutex);
    }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    pthread_mutex_t* get() {
        return &mMutex;
    }
    void lock() {
        pthread_mutex_lock(&mMutex);
    }
    void unlock() {
        pthread_mutex_unlock(&mMutex);
    }
    bool isFree() {
        const bool taken = pthread_mutex_trylock(&mMutex) == 0;
        if (taken) {
            unlock();
        }
        return taken;
    }

private:
    pthread_mutex_t mMutex{};
};

// The whole tenths of a second that a failed try of a held mutex takes at least.
long long tenthsToFail(Mutex& held, int seconds) {
    const auto start = Clock::now();
    EXPECT_FALSE(tryLockWithTimeout(held.get(), seconds));
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count() /
           100;
}

TEST(TryLockWithTimeout, TakesAFreeMutex) {
    for (const int seconds : {0, 2, 100000}) {
        Mutex mutex;
        EXPECT_TRUE(tryLockWithTimeout(mutex.get(), seconds));
        EXPECT_FALSE(mutex.isFree());
        mutex.unlock();
    }
}

TEST(TryLockWithTimeout, SleepsAfterEveryFailedTry) {
    Mutex mutex;
    mutex.lock();
    EXPECT_GE(tenthsToFail(mutex, 0), 1);
    EXPECT_GE(tenthsToFail(mutex, 2), 21);
    mutex.unlock();
}

TEST(TryLockWithTimeout, NegativeTimeNeverTries) {
    // The last two are negative when multiplied by ten as a 32-bit number.
    for (const int seconds : {-1, INT_MIN / 10, 214748365, 300000000}) {
        Mutex mutex;
        EXPECT_FALSE(tryLockWithTimeout(mutex.get(), seconds)) << seconds;
        EXPECT_TRUE(mutex.isFree());
    }
}

TEST(TryLockWithTimeout, TimeBeyondThirtyTwoBitsWraps) {
    Mutex mutex;
    mutex.lock();
    EXPECT_GE(tenthsToFail(mutex, 429496730), 5); // ten times that is 2^32 + 4
    mutex.unlock();
}

TEST(TryLockWithTimeout, TakesAMutexThatBecomesFree) {
    Mutex mutex;
    mutex.lock();
    std::atomic<bool> taken = false;
    std::thread waiter([&] {
        taken = tryLockWithTimeout(mutex.get(), 100000);
        mutex.unlock();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    mutex.unlock();
    waiter.join();
    EXPECT_TRUE(taken);
}

class CollectionLock : public RequestFixture {
protected:
    // Whether the lock is free when the answer is published.
    bool isFreeAtTheAnswer(bool succeeded) {
        Mutex mutex;
        mutex.lock();
        bool isFree = false;
        const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
            isFree = mutex.isFree();
            EXPECT_EQ(command, (Command{"PUBLISH", "channel", "q/42"}));
            return std::nullopt;
        });
        unlockAndReply(proxy.context(), mutex.get(), "channel", "q/42", succeeded);
        EXPECT_TRUE(mutex.isFree());
        return isFree;
    }
};

TEST_F(CollectionLock, SuccessIsAnsweredAfterTheUnlock) {
    EXPECT_TRUE(isFreeAtTheAnswer(true));
}

TEST_F(CollectionLock, FailureIsAnsweredBeforeTheUnlock) {
    EXPECT_FALSE(isFreeAtTheAnswer(false));
}

TEST_F(CollectionLock, FreeLockIsTakenSilently) {
    Mutex mutex;
    CommandMonitor monitor(server);
    EXPECT_TRUE(lockCollection(context(), mutex.get(), "channel", "q/42", "Reason."));
    EXPECT_FALSE(mutex.isFree());
    EXPECT_EQ(describeCommands(monitor.commands()), "");
    EXPECT_EQ(log(), "");
    mutex.unlock();
}

TEST_F(CollectionLock, HeldLockIsLoggedAndAnswered) {
    Mutex mutex;
    mutex.lock();
    CommandMonitor monitor(server);
    EXPECT_FALSE(lockCollection(context(), mutex.get(), "channel", "q/42", "Reason of 100 %s."));
    EXPECT_EQ(monitor.commands().back(), (Command{"PUBLISH", "channel", "q/42"}));
    EXPECT_EQ(answer("q/42"), "EXCEPTION Base.1.9.ServiceTemporarilyUnavailable (1)");
    EXPECT_EQ(log(), "[Error]: Reason of 100 %s.\n");
    mutex.unlock();
}

} // namespace
