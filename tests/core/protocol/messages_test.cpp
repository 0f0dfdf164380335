// The announcement of a request and the message of a task's state: what is written is read back.

#include "core/protocol/messages.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct Splitting {
    const char* name;
    std::string message;
    std::string requestKey;
    std::string statusKey;

    friend void PrintTo(const Splitting& row, std::ostream* out) {
        *out << row.name;
    }
};

class ChannelMessage : public testing::TestWithParam<Splitting> {};

TEST_P(ChannelMessage, splits) {
    const RequestKeys keys = splitChannelMessage(GetParam().message);
    EXPECT_EQ(keys.requestKey, GetParam().requestKey);
    EXPECT_EQ(keys.statusKey, GetParam().statusKey);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ChannelMessage,
    testing::Values(
        Splitting{"twoWords", "request status", "request", "status"},
        Splitting{"threeWords", "request status more", "request", "status more"},
        Splitting{"twoBlanks", "request  status", "request", " status"},
        Splitting{"noBlank", "request", "request", "request"},
        Splitting{"blankAtEnd", "request ", "request", ""},
        Splitting{"blankAtBeginning", " status", "", "status"},
        Splitting{"onlyABlank", " ", "", ""}, Splitting{"empty", "", "", ""},
        Splitting{"tabIsNoBlank", "request\tstatus", "request\tstatus", "request\tstatus"},
        Splitting{"lineEndIsNoBlank", "request\nline status\n", "request\nline", "status\n"},
        Splitting{"nulIsKept", std::string("re\0quest sta\0tus", 16), std::string("re\0quest", 8),
                  std::string("sta\0tus", 7)},
        Splitting{"urisAndMarkers", "&&/redfish/v1/X?a=1%20 &&/status/1", "&&/redfish/v1/X?a=1%20",
                  "&&/status/1"}),
    [](const auto& row) { return row.param.name; });

TEST(RequestAnnouncement, IsSplitIntoTheKeysItWasMadeOf) {
    const std::string message = requestAnnouncement({"requests/1", "requests/1/Status"});
    EXPECT_EQ(message, "requests/1 requests/1/Status");
    EXPECT_EQ(splitChannelMessage(message).requestKey, "requests/1");
    EXPECT_EQ(splitChannelMessage(message).statusKey, "requests/1/Status");
}

struct TaskRow {
    const char* state;
    const char* message;
    bool isFinal;
};

constexpr TaskRow TASK_ROWS[] = {
    {TASK_PENDING, "/t/1 Pending null null", false},
    {TASK_RUNNING, "/t/1 Running null null", false},
    {TASK_COMPLETED, "/t/1 Completed null null", true},
    {TASK_EXCEPTION, "/t/1 Exception null null &&/t/1/ExtendedInfo", true},
};

TEST(TaskStateMessage, IsReadBackAsTheChangeItTellsOf) {
    for (const TaskRow& row : TASK_ROWS) {
        EXPECT_EQ(taskStateMessage({"/t/1", row.state}), row.message);
        const auto change = parseTaskStateMessage(row.message);
        ASSERT_TRUE(change.has_value()) << row.message;
        EXPECT_EQ(change->taskUri, "/t/1");
        EXPECT_EQ(change->state, row.state);
        EXPECT_EQ(isFinalTaskState(change->state), row.isFinal) << row.state;
    }
}

TEST(TaskStateMessage, OfFewerThanFourWordsIsNone) {
    for (const char* text : {"", "/t/1", "/t/1 Running", "/t/1 Running null"}) {
        EXPECT_FALSE(parseTaskStateMessage(text).has_value()) << text;
    }
}

} // namespace
