// The collection lock: how often it is tried, how long it pauses in between, and in which order a
// request is unlocked and answered.
//
// This program brings its own pthread_mutex_trylock and usleep, which the lock then calls: tries
// and pauses are counted, and no pause takes any time.

#include "requests/collection_lock.h"
#include "requests/return_status.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <set>

namespace {

int gTries = 0;
int gPauses = 0;
std::set<useconds_t> gPauseLengths;
int gPausesUntilFree = INT_MAX; // then gHeld is unlocked
pthread_mutex_t* gHeld = nullptr;

int tryReally(pthread_mutex_t* mutex) {
    using Function = int (*)(pthread_mutex_t*);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): dlsym's own interface
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_mutex_trylock"));
    return real(mutex);
}

} // namespace

extern "C" int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    ++gTries;
    return tryReally(mutex);
}

extern "C" int usleep(useconds_t microseconds) {
    gPauseLengths.insert(microseconds);
    if (++gPauses == gPausesUntilFree) {
        pthread_mutex_unlock(gHeld);
    }
    return 0;
}

namespace {

class Mutex {
public:
    Mutex() {
        pthread_mutex_init(&mMutex, nullptr);
        gTries = 0;
        gPauses = 0;
        gPauseLengths.clear();
    }
    ~Mutex() {
        gPausesUntilFree = INT_MAX;
        (void)isFree(); // a mutex must not be destroyed while it is locked
        pthread_mutex_unlock(&mMutex);
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
    void unlockAfterPauses(int pauses) {
        gHeld = &mMutex;
        gPausesUntilFree = pauses;
    }
    bool isFree() {
        const bool taken = tryReally(&mMutex) == 0;
        if (taken) {
            pthread_mutex_unlock(&mMutex);
        }
        return taken;
    }

private:
    pthread_mutex_t mMutex{};
};

TEST(TryLockWithTimeout, TakesAFreeMutexAtTheFirstTry) {
    for (const int seconds : {0, 2, 100000}) {
        Mutex mutex;
        EXPECT_TRUE(tryLockWithTimeout(mutex.get(), seconds));
        EXPECT_FALSE(mutex.isFree());
        EXPECT_EQ(gTries, 1);
        EXPECT_EQ(gPauses, 0);
    }
}

TEST(TryLockWithTimeout, PausesATenthOfASecondAfterEveryFailedTry) {
    // 429496730 times ten is 2^32 + 4: beyond 32 bits the number of tries wraps.
    for (const auto& [seconds, tries] :
         std::map<int, int>{{0, 1}, {1, 11}, {2, 21}, {429496730, 5}}) {
        Mutex mutex;
        mutex.lock();
        EXPECT_FALSE(tryLockWithTimeout(mutex.get(), seconds));
        EXPECT_EQ(gTries, tries) << seconds;
        EXPECT_EQ(gPauses, tries) << seconds;
        EXPECT_EQ(gPauseLengths, std::set<useconds_t>{100000}) << seconds;
    }
}

TEST(TryLockWithTimeout, NeverTriesForANegativeTime) {
    // The last two are negative when multiplied by ten as a 32-bit number.
    for (const int seconds : {-1, INT_MIN / 10, 214748365, 300000000}) {
        Mutex mutex;
        EXPECT_FALSE(tryLockWithTimeout(mutex.get(), seconds)) << seconds;
        EXPECT_EQ(gTries, 0) << seconds;
    }
}

TEST(TryLockWithTimeout, TakesAMutexThatBecomesFree) {
    Mutex mutex;
    mutex.lock();
    mutex.unlockAfterPauses(3);
    EXPECT_TRUE(tryLockWithTimeout(mutex.get(), 2));
    EXPECT_EQ(gTries, 4);
    EXPECT_FALSE(mutex.isFree());
}

class CollectionLock : public RequestFixture {
protected:
    using Finish = void (*)(pthread_mutex_t*, const AnswerPlace&);

    // Whether the lock is free when the reply is published.
    bool isFreeAtTheReply(Finish finish) {
        Mutex mutex;
        mutex.lock();
        bool isFree = false;
        const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
            isFree = mutex.isFree();
            EXPECT_EQ(command, (Command{"PUBLISH", "channel", "q/42"}));
            return std::nullopt;
        });
        finish(mutex.get(), {proxy.context(), "q/42", "channel"});
        EXPECT_TRUE(mutex.isFree());
        return isFree;
    }
};

TEST_F(CollectionLock, IsFreeBeforeOrAfterTheReplyAsOrdered) {
    EXPECT_TRUE(isFreeAtTheReply(unlockThenReply));
    EXPECT_FALSE(isFreeAtTheReply(replyThenUnlock));
}

TEST_F(CollectionLock, IsTakenSilentlyWhenItIsFree) {
    Mutex mutex;
    CommandMonitor monitor(server);
    EXPECT_TRUE(lockCollection(mutex.get(), {context(), "q/42", "channel"}, "Reason."));
    EXPECT_FALSE(mutex.isFree());
    EXPECT_EQ(describeCommands(monitor.commands()), "");
    EXPECT_EQ(log(), "");
}

TEST_F(CollectionLock, IsTriedForTwoSecondsThenLoggedAndAnsweredBusy) {
    Mutex mutex;
    mutex.lock();
    std::string logAtTheStatus;
    Command last;
    const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
        logAtTheStatus = last.empty() ? log() : logAtTheStatus;
        last = command;
        return std::nullopt;
    });
    const AnswerPlace place = {proxy.context(), "q/42", "channel"};
    EXPECT_FALSE(lockCollection(mutex.get(), place, "Reason of 100 %s."));
    EXPECT_EQ(gTries, 21);
    EXPECT_EQ(gPauses, 21);
    EXPECT_EQ(logAtTheStatus, "[Error]: Reason of 100 %s.\n");
    EXPECT_EQ(log(), logAtTheStatus);
    EXPECT_EQ(answer("q/42"), "EXCEPTION Base.1.9.ServiceTemporarilyUnavailable (1)");
    EXPECT_EQ(last, (Command{"PUBLISH", "channel", "q/42"}));
}

} // namespace
