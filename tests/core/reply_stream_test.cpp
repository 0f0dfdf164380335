// Replies read as they arrive, whole and broken off at every byte.

#include "core/redis_connection.h"
#include "core/redis_reply.h"
#include "core/reply_stream.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

// A connection on which these bytes come, and then its end.
class ClosingServer {
public:
    explicit ClosingServer(const std::string& bytes) {
        int sockets[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, sockets), 0);
        EXPECT_EQ(::send(sockets[1], bytes.data(), bytes.size(), 0),
                  static_cast<ssize_t>(bytes.size()));
        ::close(sockets[1]);
        mContext.reset(redisConnectFd(sockets[0]));
    }

    redisContext* context() {
        return mContext.get();
    }

private:
    RedisConnection mContext;
};

class Collected : public ReplyElements {
public:
    void begin(std::size_t count) override {
        announced = count;
    }
    void add(std::string_view text) override {
        texts.emplace_back(text);
    }

    std::size_t announced = 0;
    Texts texts;
};

struct ReplyRow {
    const char* name;
    std::string bytes;
    int type;
    std::string error;
    std::size_t announced;
    Texts texts;
};

void PrintTo(const ReplyRow& row, std::ostream* stream) {
    *stream << row.name;
}

class StreamedReplies : public testing::TestWithParam<ReplyRow> {};

TEST_P(StreamedReplies, AreTheirTypeAndTheirElements) {
    const ReplyRow& row = GetParam();
    ClosingServer server(row.bytes + "+next\r\n");
    Collected collected;
    StreamedReply reply;
    ASSERT_TRUE(RedisReplyStream(server.context()).take(collected, reply));
    EXPECT_TRUE(reply.came);
    EXPECT_EQ(reply.type, row.type);
    EXPECT_EQ(reply.text, row.error);
    EXPECT_EQ(collected.announced, row.announced);
    EXPECT_EQ(collected.texts, row.texts);
    // The next one is the library's own again.
    RedisReply next;
    ASSERT_TRUE(takeRedisReply(server.context(), next));
    EXPECT_EQ(replyText(*next), "next");
}

// What came is given on, nothing else is, and nothing is freed twice or lost.
TEST_P(StreamedReplies, MayBreakOffAtEveryByte) {
    const ReplyRow& row = GetParam();
    for (std::size_t length = 0; length < row.bytes.size(); ++length) {
        ClosingServer server(row.bytes.substr(0, length));
        Collected collected;
        StreamedReply reply;
        EXPECT_FALSE(RedisReplyStream(server.context()).take(collected, reply)) << length;
        EXPECT_FALSE(reply.came) << length;
        ASSERT_LE(collected.texts.size(), row.texts.size()) << length;
        EXPECT_TRUE(std::equal(collected.texts.begin(), collected.texts.end(), row.texts.begin()));
        EXPECT_FALSE(RedisReplyStream(server.context()).take(collected, reply)) << length;
        RedisReply later;
        EXPECT_FALSE(takeRedisReply(server.context(), later)) << length;
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(OneReply, StreamedReplies, testing::ValuesIn(std::vector<ReplyRow>{
    {"Status",        "+OK\r\n",                                    REDIS_REPLY_STATUS,  "",             0, {}},
    {"Error",         "-WRONGTYPE no\r\n",                          REDIS_REPLY_ERROR,   "WRONGTYPE no", 0, {}},
    {"Integer",       ":12\r\n",                                    REDIS_REPLY_INTEGER, "",             0, {}},
    {"Text",          "$3\r\nabc\r\n",                              REDIS_REPLY_STRING,  "",             0, {}},
    {"Nil",           "$-1\r\n",                                    REDIS_REPLY_NIL,     "",             0, {}},
    {"EmptyArray",    "*0\r\n",                                     REDIS_REPLY_ARRAY,   "",             0, {}},
    {"NilArray",      "*-1\r\n",                                    REDIS_REPLY_NIL,     "",             0, {}},
    {"Texts",         "*3\r\n$1\r\na\r\n$0\r\n\r\n$3\r\nb\r\n\r\n", REDIS_REPLY_ARRAY,   "",             3, {"a", "", "b\r\n"}},
    {"OtherElements", "*5\r\n:1\r\n$-1\r\n-ERR\r\n+OK\r\n*0\r\n",   REDIS_REPLY_ARRAY,   "",             5, {"", "", "ERR", "OK", ""}},
    {"ArrayInArray",  "*2\r\n*2\r\n$1\r\na\r\n*1\r\n:1\r\n$1\r\nb\r\n", REDIS_REPLY_ARRAY, "",           2, {"", "b"}},
}), [](const auto& row) { return std::string(row.param.name); });
// clang-format on

class Refusing : public ReplyElements {
public:
    void add(std::string_view text) override {
        throw std::runtime_error("refused: " + std::string(text));
    }
};

TEST(StreamedReply, ThatItsOwnerCannotTakeFailsTheConnection) {
    ClosingServer server("*2\r\n$1\r\na\r\n$1\r\nb\r\n+next\r\n");
    Refusing refusing;
    StreamedReply reply;
    std::string thrown;
    try {
        (void)RedisReplyStream(server.context()).take(refusing, reply);
    } catch (const std::runtime_error& failure) {
        thrown = failure.what();
    }
    EXPECT_EQ(thrown, "refused: a");
    RedisReply next;
    EXPECT_FALSE(takeRedisReply(server.context(), next));
}

TEST(StreamedReply, IsNoReplyWhenTheBytesAreNone) {
    ClosingServer server("!rubbish\r\n");
    ReplyElements ignored;
    StreamedReply reply;
    EXPECT_FALSE(RedisReplyStream(server.context()).take(ignored, reply));
    EXPECT_FALSE(reply.came);
}

} // namespace
