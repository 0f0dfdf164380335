// Event group identifiers: the counter, its maximum, and what happens when either is unusable.

#include "core/logger.h"
#include "requests/event_group.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/output_capture.h"

namespace {

constexpr std::uint32_t LARGEST = 2147483647;

class EventGroup : public RequestFixture {
protected:
    void setMaximum(const std::string& value) {
        client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", value);
    }
    void setCounter(const std::string& value) {
        client.command("HSET", "/redfish/v1/EventService", "&&EVENT_GROUP_ID_COUNTER", value);
    }
    std::string counter() {
        return client.hash("/redfish/v1/EventService")["&&EVENT_GROUP_ID_COUNTER"];
    }
    std::uint32_t next() {
        return getNextEventGroupId(context(), gLogger);
    }
    std::uint32_t maximum() {
        return getMaxEventGroupId(context(), gLogger);
    }
};

TEST_F(EventGroup, RunsFromOneToTheMaximumAndStartsAgain) {
    setMaximum("3");
    setCounter("0");
    std::vector<std::uint32_t> identifiers;
    std::vector<std::string> counters;
    for (int i = 0; i < 6; ++i) {
        identifiers.push_back(next());
        counters.push_back(counter());
    }
    EXPECT_EQ(identifiers, (std::vector<std::uint32_t>{1, 2, 3, 1, 2, 3}));
    EXPECT_EQ(counters, (std::vector<std::string>{"1", "2", "0", "1", "2", "0"}));
    EXPECT_EQ(log(), "");
}

TEST_F(EventGroup, SendsTheCommandsOfAnOrdinaryIdentifier) {
    setMaximum("3");
    CommandMonitor monitor(server);
    EXPECT_EQ(next(), 1U);
    EXPECT_EQ(next(), 2U);
    EXPECT_EQ(next(), 3U);
    // The maximum is read once.
    EXPECT_EQ(describeCommands(monitor.commands()),
              "HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1\n"
              "HGET webDefaultValue MAX_EVENT_GROUP_ID\n"
              "HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1\n"
              "HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1\n"
              "HSET /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 0\n");
}

TEST_F(EventGroup, MaximumOfOneIsGivenEveryTime) {
    setMaximum("1");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(next(), 1U);
        EXPECT_EQ(counter(), "0");
    }
}

TEST_F(EventGroup, CounterBeyondTheMaximumRestarts) {
    setMaximum("3");
    for (const std::string start : {"3", "4", "5", "1000"}) {
        setCounter(start);
        EXPECT_EQ(next(), 3U) << start;
        EXPECT_EQ(counter(), "0");
    }
    EXPECT_EQ(next(), 1U);
}

TEST_F(EventGroup, GoodMaximumIsKept) {
    setMaximum("5");
    EXPECT_EQ(maximum(), 5U);
    setMaximum("7");
    EXPECT_EQ(maximum(), 5U);
    client.command("DEL", "webDefaultValue");
    EXPECT_EQ(maximum(), 5U);
}

TEST_F(EventGroup, UnusableMaximumIsReadAgain) {
    setMaximum("rubbish");
    EXPECT_EQ(maximum(), LARGEST);
    setMaximum("7");
    EXPECT_EQ(maximum(), 7U);
}

TEST_F(EventGroup, LargestMaximumIsReadAgainSinceItMeansNone) {
    setMaximum("2147483647");
    EXPECT_EQ(maximum(), LARGEST);
    EXPECT_EQ(log(), "");
    setMaximum("7");
    EXPECT_EQ(maximum(), 7U);
}

TEST_F(EventGroup, MaximumEndsAtTheFirstNonDigit) {
    setMaximum(" \t12abc");
    EXPECT_EQ(maximum(), 12U);
    EXPECT_EQ(log(), "");
}

TEST_F(EventGroup, FractionIsNoMaximumAndNotReported) {
    for (const std::string text : {"3.5", "3.0", ".", "rubbish."}) {
        setMaximum(text);
        EXPECT_EQ(maximum(), LARGEST) << text;
    }
    EXPECT_EQ(log(), "");
    setMaximum("4");
    EXPECT_EQ(maximum(), 4U);
}

TEST_F(EventGroup, MaximumWithoutDigitsIsReportedAtEveryCall) {
    EXPECT_EQ(maximum(), LARGEST); // no field at all
    setMaximum("");
    EXPECT_EQ(maximum(), LARGEST);
    setMaximum("many");
    EXPECT_EQ(maximum(), LARGEST);
    EXPECT_EQ(log(), "[Debug]: Max EventGroupId value type error stoi\n"
                     "[Debug]: Max EventGroupId value type error stoi\n"
                     "[Debug]: Max EventGroupId value type error stoi\n");
}

TEST_F(EventGroup, MaximumOutOfRangeIsReportedAtEveryCall) {
    for (const std::string text : {"2147483648", "-2147483649", "99999999999999999999"}) {
        setMaximum(text);
        EXPECT_EQ(maximum(), LARGEST) << text;
    }
    EXPECT_EQ(log(), "[Debug]: Max EventGroupId value out of range stoi\n"
                     "[Debug]: Max EventGroupId value out of range stoi\n"
                     "[Debug]: Max EventGroupId value out of range stoi\n");
}

TEST_F(EventGroup, MaximumBelowOneIsReportedAtEveryCall) {
    for (const std::string text : {"0", "-1", "-2147483648"}) {
        setMaximum(text);
        EXPECT_EQ(maximum(), LARGEST) << text;
    }
    EXPECT_EQ(log(), "[Debug]: The default max value was set to invalid value.\n"
                     "[Debug]: The default max value was set to invalid value.\n"
                     "[Debug]: The default max value was set to invalid value.\n");
}

TEST_F(EventGroup, WithoutUsableMaximumIdentifiersRunOn) {
    setMaximum("0");
    setCounter("2147483645");
    EXPECT_EQ(next(), 2147483646U);
    EXPECT_EQ(next(), LARGEST);
    EXPECT_EQ(counter(), "0");
    EXPECT_EQ(next(), 1U);
}

TEST_F(EventGroup, LostConnectionRestartsAtOne) {
    const RedisProxy proxy(server, answerOnce({"HINCRBY"}, CLOSE_CONNECTION));
    EXPECT_EQ(getNextEventGroupId(proxy.context(), gLogger), 1U);
    EXPECT_EQ(log(), "[Debug]: Failed to increase the counter &&EVENT_GROUP_ID_COUNTER\n"
                     "[Debug]: Failed to reset the EventGroupId counter.\n"
                     "[Debug]: Max EventGroupId value type error stoi\n");
}

TEST_F(EventGroup, CounterThatIsNoNumberRestarts) {
    setMaximum("3");
    setCounter("rubbish");
    EXPECT_EQ(next(), 3U);
    EXPECT_EQ(counter(), "0");
    EXPECT_EQ(next(), 1U);
    EXPECT_EQ(log(), "");
}

TEST_F(EventGroup, FailedResetAtTheWrapIsReported) {
    setMaximum("3");
    setCounter("2");
    const RedisProxy proxy(server, answerOnce({"HSET"}, ERROR_REPLY));
    EXPECT_EQ(getNextEventGroupId(proxy.context(), gLogger), 3U);
    EXPECT_EQ(log(), "[Debug]: Failed to reset the EventGroupId counter.\n");
    EXPECT_EQ(counter(), "3");
}

TEST_F(EventGroup, NegativeCounterRestartsAtTheMaximum) {
    setMaximum("3");
    setCounter("-10");
    EXPECT_EQ(next(), 3U);
    EXPECT_EQ(counter(), "0");
}

TEST_F(EventGroup, WithoutLoggerReportsGoToStandardError) {
    const OutputCapture errors(2);
    EXPECT_EQ(getMaxEventGroupId(context(), nullptr), LARGEST);
    EXPECT_EQ(errors.text(), "[DEBUG] Max EventGroupId value type error stoi\n");
}

} // namespace
