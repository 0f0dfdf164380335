// Event group identifiers: the counter, its maximum, and what happens when either is unusable.

#include "core/logger.h"
#include "requests/event_group.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/output_capture.h"

#include <array>

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

TEST_F(EventGroup, IsDrawnByTheseCommandsWithTheMaximumReadOnce) {
    setMaximum("3");
    EXPECT_EQ(commandsOf([this] {
                  for (const std::uint32_t expected : {1U, 2U, 3U}) {
                      EXPECT_EQ(next(), expected);
                  }
              }),
              "HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1\n"
              "HGET webDefaultValue MAX_EVENT_GROUP_ID\n"
              "HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1\n"
              "HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1\n"
              "HSET /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 0\n");
}

TEST_F(EventGroup, IsOneEveryTimeWhenTheMaximumIsOne) {
    setMaximum("1");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(next(), 1U);
        EXPECT_EQ(counter(), "0");
    }
}

TEST_F(EventGroup, IsTheMaximumWhenTheCounterIsOutOfRangeOrNoNumber) {
    setMaximum("3");
    for (const std::string start : {"3", "4", "5", "1000", "-10", "rubbish"}) {
        setCounter(start);
        EXPECT_EQ(next(), 3U) << start;
        EXPECT_EQ(counter(), "0");
    }
    EXPECT_EQ(next(), 1U);
    EXPECT_EQ(log(), "");
}

TEST_F(EventGroup, MaximumIsKeptOnceItIsGood) {
    setMaximum(" \t12abc"); // as far as the digits go
    EXPECT_EQ(maximum(), 12U);
    setMaximum("7");
    EXPECT_EQ(maximum(), 12U);
    client.command("DEL", "webDefaultValue");
    EXPECT_EQ(maximum(), 12U);
    EXPECT_EQ(log(), "");
}

TEST_F(EventGroup, MaximumThatIsUnusableIsReadAndReportedAtEveryCall) {
    const std::string noNumber = "[Debug]: Max EventGroupId value type error stoi\n";
    const std::string outOfRange = "[Debug]: Max EventGroupId value out of range stoi\n";
    const std::string belowOne = "[Debug]: The default max value was set to invalid value.\n";
    const std::vector<std::array<std::string, 2>> table = {
        {"", noNumber},
        {"many", noNumber},
        {"2147483648", outOfRange},
        {"-2147483649", outOfRange},
        {"99999999999999999999", outOfRange},
        {"0", belowOne},
        {"-1", belowOne},
        {"-2147483648", belowOne},
        {"3.5", ""}, // a fraction is not reported
        {"3.0", ""},
        {"rubbish.", ""},
        {"2147483647", ""}, // the number that means none
    };
    EXPECT_EQ(maximum(), LARGEST);
    EXPECT_EQ(log(), noNumber); // no such field
    for (const auto& [text, line] : table) {
        configure();
        setMaximum(text);
        EXPECT_EQ(maximum(), LARGEST) << text;
        EXPECT_EQ(maximum(), LARGEST) << text;
        EXPECT_EQ(log(), line + line) << text;
    }
    setMaximum("7");
    EXPECT_EQ(maximum(), 7U);
}

TEST_F(EventGroup, MaximumThatIsUnusableNeverTakesTheGoodOnesPlace) {
    setMaximum("7");
    // While one thread waits for an unusable setting, another one finds a good one.
    const RedisProxy proxy(server, [this](const Command&) -> std::optional<std::string> {
        EXPECT_EQ(maximum(), 7U);
        return "$1\r\n0\r\n";
    });
    EXPECT_EQ(getMaxEventGroupId(proxy.context(), gLogger), LARGEST);
    setMaximum("9");
    EXPECT_EQ(maximum(), 7U);
}

TEST_F(EventGroup, RunsOnToTheLargestNumberWithoutAUsableMaximum) {
    setMaximum("0");
    setCounter("2147483645");
    EXPECT_EQ(next(), 2147483646U);
    EXPECT_EQ(next(), LARGEST);
    EXPECT_EQ(counter(), "0");
    EXPECT_EQ(next(), 1U);
}

TEST_F(EventGroup, RestartsAtOneWhenTheConnectionIsLost) {
    const RedisProxy proxy(server, answerOnce({"HINCRBY"}, CLOSE_CONNECTION));
    EXPECT_EQ(getNextEventGroupId(proxy.context(), gLogger), 1U);
    EXPECT_EQ(log(), "[Debug]: Failed to increase the counter &&EVENT_GROUP_ID_COUNTER\n"
                     "[Debug]: Failed to reset the EventGroupId counter.\n"
                     "[Debug]: Max EventGroupId value type error stoi\n");
}

TEST_F(EventGroup, ReportsAFailedResetAtTheWrap) {
    setMaximum("3");
    setCounter("2");
    const RedisProxy proxy(server, answerOnce({"HSET"}, ERROR_REPLY));
    EXPECT_EQ(getNextEventGroupId(proxy.context(), gLogger), 3U);
    EXPECT_EQ(log(), "[Debug]: Failed to reset the EventGroupId counter.\n");
    EXPECT_EQ(counter(), "3");
}

TEST_F(EventGroup, ReportsOnStandardErrorWithoutALogger) {
    const OutputCapture errors(2);
    EXPECT_EQ(getMaxEventGroupId(context(), nullptr), LARGEST);
    EXPECT_EQ(errors.text(), "[DEBUG] Max EventGroupId value type error stoi\n");
}

} // namespace
