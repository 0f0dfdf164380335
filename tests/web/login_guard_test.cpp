// Who may log in, and how fast passwords may be tried.

#include "frontend/web/service/answer.h"
#include "frontend/web/service/login_guard.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;

const std::string ADDRESS = "192.0.2.1";

class LoginGuardTest : public testing::Test {
protected:
    // An attempt that waits as it is told; how long that was.
    milliseconds attempt(const std::string& password, const std::string& address = ADDRESS) {
        const milliseconds delay = guard.delayFor(address);
        moment += delay;
        EXPECT_EQ(guard.accepts("user", password, address), password == "right");
        return delay;
    }

    Clock::time_point moment = Clock::now();
    LoginGuard guard{"user", "right", [this] { return moment; }};
};

TEST_F(LoginGuardTest, TakesTheUserWithThePasswordAlone) {
    struct Row {
        std::string user;
        std::string password;
        bool isAccepted;
    };
    for (const Row& row :
         {Row{"user", "right", true}, Row{"user", "wrong", false}, Row{"other", "right", false},
          Row{"right", "user", false}, Row{"", "", false}, Row{"user", "", false},
          Row{"user", "righ", false}, Row{"user", "right ", false}, Row{"User", "right", false},
          Row{"user", std::string("right\0", 6), false}}) {
        EXPECT_EQ(guard.accepts(row.user, row.password, ADDRESS), row.isAccepted)
            << row.user << ":" << row.password;
    }
}

TEST_F(LoginGuardTest, EachWrongPasswordDoublesTheDelayUpToFiveSeconds) {
    for (const int expected : {0, 100, 200, 400, 800, 1600, 3200, 5000, 5000, 5000}) {
        EXPECT_EQ(attempt("wrong"), milliseconds(expected));
    }
}

TEST_F(LoginGuardTest, TimeThatHasPassedCountsForTheDelay) {
    (void)attempt("wrong");
    moment += milliseconds(60);
    EXPECT_EQ(guard.delayFor(ADDRESS), milliseconds(40));
}

TEST_F(LoginGuardTest, ARightPasswordEndsTheDelay) {
    (void)attempt("wrong");
    (void)attempt("wrong");
    EXPECT_EQ(attempt("right"), milliseconds(200));
    EXPECT_EQ(attempt("right"), milliseconds(0));
    EXPECT_EQ(attempt("wrong"), milliseconds(0));
}

TEST_F(LoginGuardTest, AnotherAddressDoesNotWait) {
    (void)attempt("wrong");
    EXPECT_EQ(guard.delayFor("192.0.2.2"), milliseconds(0));
    EXPECT_EQ(guard.delayFor(ADDRESS), milliseconds(100));
}

TEST_F(LoginGuardTest, AttemptsMadeAtATimeWaitForOneAnother) {
    (void)attempt("wrong");
    for (const int expected : {100, 300, 700, 1500, 3100, 5000, 5000}) {
        EXPECT_EQ(guard.delayFor(ADDRESS), milliseconds(expected));
    }
}

// How many wrong passwords of the address are looked at, up to the first that is refused unseen.
int looksOf(LoginGuard& guard) {
    int looks = 0;
    try {
        while (!guard.accepts("user", "wrong", ADDRESS)) {
            ++looks;
        }
    } catch (const Refusal& refusal) {
        EXPECT_EQ(refusal.status, 503);
    }
    return looks;
}

TEST_F(LoginGuardTest, AttemptsWithoutATurnAreRefusedUnseen) {
    const int underWay = looksOf(guard);
    EXPECT_THROW((void)guard.accepts("user", "right", ADDRESS), Refusal);
    for (int i = 0; i < 100; ++i) {
        (void)guard.delayFor(ADDRESS);
    }
    EXPECT_EQ(looksOf(guard), 5); // those that had not to wait for longer than the limit
    EXPECT_LE(underWay, 65);
    moment += LONGEST_LOGIN_DELAY;
    EXPECT_EQ(attempt("right"), milliseconds(1300));
}

TEST_F(LoginGuardTest, AnAddressThatIsSilentForAWhileBeginsAfresh) {
    (void)attempt("wrong");
    moment += LOGIN_MEMORY - milliseconds(1);
    (void)attempt("wrong");
    EXPECT_EQ(guard.delayFor(ADDRESS), milliseconds(200));
    moment += LOGIN_MEMORY;
    (void)attempt("wrong");
    EXPECT_EQ(guard.delayFor(ADDRESS), milliseconds(100));
}

TEST_F(LoginGuardTest, RemembersTheLatestThousandAddresses) {
    (void)attempt("wrong", "first");
    for (std::size_t i = 0; i < MOST_LOGIN_ADDRESSES; ++i) {
        moment += milliseconds(1);
        (void)attempt("wrong", std::to_string(i));
    }
    (void)attempt("wrong", "first");
    EXPECT_EQ(guard.delayFor("first"), milliseconds(100));
    (void)attempt("wrong", "1");
    EXPECT_EQ(guard.delayFor("1"), milliseconds(200));
}

} // namespace
