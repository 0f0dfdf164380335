// Sessions and their tokens.

#include "frontend/web/service/session_table.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using std::chrono::minutes;
using std::chrono::seconds;

class SessionTableTest : public testing::Test {
protected:
    NewSession open(const std::string& user = "a") {
        const auto made = table.open(user, "192.0.2.1");
        if (!made) {
            throw std::runtime_error("no session");
        }
        return *made;
    }

    Clock::time_point moment = Clock::now();
    SessionTable table{3, [this] { return moment; }};
};

TEST_F(SessionTableTest, ATokenLeadsToItsSessionAndNothingElseDoes) {
    const NewSession first = open("a");
    const NewSession second = open("b");
    EXPECT_EQ(table.use(first.token)->id, first.session.id);
    EXPECT_EQ(table.use(second.token)->user, "b");
    EXPECT_EQ(table.use(second.token)->clientAddress, "192.0.2.1");
    for (const std::string& wrong :
         {std::string(), first.session.id, first.token + "0",
          first.token.substr(0, first.token.size() - 1), std::string(100000, 'a')}) {
        EXPECT_FALSE(table.use(wrong).has_value()) << wrong.substr(0, 100);
    }
}

TEST_F(SessionTableTest, TokensAreLongNeverTheSameAndNoPartOfTheSession) {
    std::set<std::string> tokens;
    for (int i = 0; i < 100; ++i) {
        const NewSession made = open();
        EXPECT_EQ(made.token.size(), 64U);
        EXPECT_EQ(made.token.find_first_not_of("0123456789abcdef"), std::string::npos);
        EXPECT_EQ(made.token.find(made.session.id), std::string::npos);
        tokens.insert(made.token);
        EXPECT_TRUE(table.close(made.session.id));
    }
    EXPECT_EQ(tokens.size(), 100U);
}

TEST_F(SessionTableTest, EndsAfterThirtyMinutesOfSilenceAndEachUseBeginsThemAnew) {
    const NewSession made = open();
    for (int i = 0; i < 3; ++i) {
        moment += minutes(30) - seconds(1);
        EXPECT_TRUE(table.use(made.token).has_value());
    }
    moment += minutes(30);
    EXPECT_FALSE(table.use(made.token).has_value());
    EXPECT_FALSE(table.find(made.session.id).has_value());
    EXPECT_FALSE(table.close(made.session.id));
}

TEST_F(SessionTableTest, LookingAtASessionIsNoUseOfIt) {
    const NewSession made = open();
    moment += minutes(29);
    EXPECT_EQ(table.find(made.session.id)->createdTime, made.session.createdTime);
    EXPECT_EQ(table.list().size(), 1U);
    moment += minutes(1);
    EXPECT_TRUE(table.list().empty());
}

TEST_F(SessionTableTest, HoldsAsManyAsItMayAndSilentOnesMakeRoom) {
    const NewSession first = open("a");
    moment += minutes(20);
    (void)open("b");
    (void)open("c");
    EXPECT_FALSE(table.open("d", "192.0.2.1").has_value());
    moment += minutes(10);
    EXPECT_TRUE(table.open("d", "192.0.2.1").has_value());
    EXPECT_FALSE(table.use(first.token).has_value());
    std::string users;
    for (const WebSession& session : table.list()) {
        users += session.user;
    }
    EXPECT_EQ(users, "bcd");
}

TEST_F(SessionTableTest, AClosedSessionEndsAtOnceAndTheOthersStay) {
    const NewSession first = open();
    const NewSession second = open();
    EXPECT_TRUE(table.close(first.session.id));
    EXPECT_FALSE(table.close(first.session.id));
    EXPECT_FALSE(table.use(first.token).has_value());
    EXPECT_TRUE(table.use(second.token).has_value());
}

} // namespace
