// The announcement of a request and the message of a task's state: what is written is read back.

#include "core/protocol/messages.h"

#include <gtest/gtest.h>

namespace {

TEST(ChannelMessage, SplitsAtItsFirstBlankOrIsBothKeys) {
    const struct {
        std::string message, requestKey, statusKey;
    } rows[] = {
        {"request status", "request", "status"},
        {"request status more", "request", "status more"},
        {"request  status", "request", " status"},
        {"request", "request", "request"},
        {"request ", "request", ""},
        {" status", "", "status"},
        {" ", "", ""},
        {"", "", ""},
        {"request\tstatus", "request\tstatus", "request\tstatus"},
        {"request\nline status\n", "request\nline", "status\n"},
        {{"re\0quest sta\0tus", 16}, {"re\0quest", 8}, {"sta\0tus", 7}},
        {"&&/redfish/v1/X?a=1%20 &&/status/1", "&&/redfish/v1/X?a=1%20", "&&/status/1"},
    };
    for (const auto& [message, requestKey, statusKey] : rows) {
        const RequestKeys keys = splitChannelMessage(message);
        EXPECT_EQ(keys.requestKey, requestKey) << message;
        EXPECT_EQ(keys.statusKey, statusKey) << message;
    }
}

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
