// The command helpers and replies that no server gives to their commands: nothing is read from a
// part that a reply does not have.

#include "core/redis_commands.h"
#include "core/redis_connection.h"
#include "core/redis_reply.h"
#include "tests/core/scripted_server.h"
#include "tests/support/process_memory.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace {

using Fields = std::map<std::string, std::string>;
using Texts = std::vector<std::string>;
using Places = std::vector<const char*>;

// A connection whose first command is answered with these bytes.
class ScriptedReply {
public:
    explicit ScriptedReply(const std::string& bytes)
        : mServer({bytes}), mContext(redisConnectUnix(mServer.socketPath().c_str())) {}

    redisContext* context() {
        return mContext.get();
    }

private:
    ScriptedServer mServer;
    RedisConnection mContext;
};

std::string thrownText(const std::function<void()>& call) {
    try {
        call();
    } catch (const std::logic_error& failure) {
        return failure.what();
    }
    return "nothing thrown";
}

const char* const NO_STRING = "basic_string::_M_construct null not valid";

// ---- lists and hashes with elements that are no strings ----

TEST(ListElement, withoutAStringRaisesALogicError) {
    for (const char* reply : {"*2\r\n$1\r\na\r\n$-1\r\n", "*2\r\n$1\r\na\r\n:5\r\n",
                              "*2\r\n$1\r\na\r\n*1\r\n$1\r\nb\r\n"}) {
        ScriptedReply server(reply);
        Texts elements;
        EXPECT_EQ(thrownText([&] { (void)redisLRange(server.context(), "list", elements); }),
                  NO_STRING);
        EXPECT_EQ(elements, Texts{"a"});
    }
}

TEST(HashElement, withoutAStringRaisesALogicError) {
    for (const char* reply : {"*4\r\n$1\r\na\r\n$1\r\n1\r\n$-1\r\n$1\r\nv\r\n",
                              "*4\r\n$1\r\na\r\n$1\r\n1\r\n:5\r\n$1\r\nv\r\n",
                              "*4\r\n$1\r\na\r\n$1\r\n1\r\n$1\r\nb\r\n$-1\r\n"}) {
        ScriptedReply server(reply);
        Fields fields;
        EXPECT_EQ(thrownText([&] { (void)redisHGetAll(server.context(), "hash", fields); }),
                  NO_STRING);
        EXPECT_EQ(fields, (Fields{{"a", "1"}}));
    }
}

TEST(HashElement, ofAFieldWithoutAValueIsLeftOut) {
    ScriptedReply server("*3\r\n$1\r\na\r\n$1\r\n1\r\n$1\r\nb\r\n");
    Fields fields;
    EXPECT_EQ(redisHGetAll(server.context(), "hash", fields), 1);
    EXPECT_EQ(fields, (Fields{{"a", "1"}}));
}

TEST(ListElement, mayBeAStatus) {
    ScriptedReply server("*2\r\n+OK\r\n$1\r\na\r\n");
    Texts elements;
    EXPECT_EQ(redisLRange(server.context(), "list", elements), 1);
    EXPECT_EQ(elements, (Texts{"OK", "a"}));
}

// ---- replies of other types ----

const Texts NO_ARRAYS = {"$1\r\na\r\n", "$-1\r\n", ":3\r\n", "+OK\r\n", "-ERR no\r\n", "*-1\r\n"};

TEST(Reply, thatIsNoArrayAddsNothing) {
    for (const auto& bytes : NO_ARRAYS) {
        ScriptedReply list(bytes);
        Texts elements;
        EXPECT_EQ(redisLRange(list.context(), "list", elements), 1) << bytes;
        EXPECT_TRUE(elements.empty()) << bytes;
        ScriptedReply hash(bytes);
        Fields fields;
        EXPECT_EQ(redisHGetAll(hash.context(), "hash", fields), 1) << bytes;
        EXPECT_TRUE(fields.empty()) << bytes;
    }
}

TEST(Reply, thatIsNoStringGivesAnEmptyText) {
    for (const char* bytes :
         {"+status\r\n", "-error\r\n", ":1\r\n", "*1\r\n$1\r\na\r\n", "$-1\r\n"}) {
        ScriptedReply server(bytes);
        EXPECT_EQ(redisHGet(server.context(), "hash", "field"), "") << bytes;
    }
}

TEST(Reply, thatIsNoIntegerIsAFailure) {
    for (const char* bytes : {"$1\r\n1\r\n", "+1\r\n", "-1\r\n", "*1\r\n:1\r\n", "$-1\r\n"}) {
        const std::vector<std::function<int(redisContext*)>> calls = {
            [](redisContext* c) { return redisHSet(c, "k", "f", "v"); },
            [](redisContext* c) { return redisLPush(c, "k", "v"); },
            [](redisContext* c) { return redisLLen(c, "k") + 1; },
            [](redisContext* c) { return redisPublish(c, "c", "m"); },
            [](redisContext* c) { return redisDel(c, "k"); },
            [](redisContext* c) { return redisExpire(c, "k", 1); },
            [](redisContext* c) { return redisLRem(c, "k", 0, "v"); },
            [](redisContext* c) { return redisHExists(c, "k", "f"); },
            [](redisContext* c) { return redisHDel(c, "k", "f"); },
            [](redisContext* c) { return redisExists(c, "k"); },
        };
        for (std::size_t i = 0; i < calls.size(); ++i) {
            ScriptedReply server(bytes);
            EXPECT_EQ(calls[i](server.context()), 0) << bytes << " call " << i;
        }
    }
}

TEST(Reply, ofAnotherNumberIsAFailure) {
    const struct {
        const char* bytes;
        std::function<int(redisContext*)> call;
    } rows[] = {
        {":2\r\n", [](auto* c) { return redisHSet(c, "k", "f", "v"); }},
        {":-1\r\n", [](auto* c) { return redisHSet(c, "k", "f", "v"); }},
        {":2\r\n", [](auto* c) { return redisDel(c, "k"); }},
        {":-1\r\n", [](auto* c) { return redisPublish(c, "c", "m"); }},
        {":2\r\n", [](auto* c) { return redisExpire(c, "k", 1); }},
        {":2\r\n", [](auto* c) { return redisExists(c, "k"); }},
    };
    for (const auto& [bytes, call] : rows) {
        ScriptedReply server(bytes);
        EXPECT_EQ(call(server.context()), 0) << bytes;
    }
}

TEST(Reply, ofAnyTypeIsSuccessForAnIncrement) {
    for (const char* bytes : {"$1\r\n1\r\n", "+1\r\n", "-1\r\n", "*1\r\n:1\r\n", "$-1\r\n"}) {
        ScriptedReply server(bytes);
        int result = -7;
        EXPECT_EQ(redisHIncrBy(server.context(), "k", "f", 1, result), 1) << bytes;
        EXPECT_EQ(result, -7) << bytes;
    }
}

TEST(HMSetReply, isJudgedByItsFirstTwoCharacters) {
    for (const char* accepted : {"+OK\r\n", "+OKAY\r\n", "$2\r\nOK\r\n"}) {
        ScriptedReply server(accepted);
        EXPECT_EQ(redisHMSet(server.context(), "hash", {{"field", "value"}}), 1) << accepted;
    }
    for (const char* refused :
         {"+O\r\n", "+\r\n", "+ok\r\n", "-ERR\r\n", ":1\r\n", "$-1\r\n", "*1\r\n+OK\r\n"}) {
        ScriptedReply server(refused);
        EXPECT_EQ(redisHMSet(server.context(), "hash", {{"field", "value"}}), 0) << refused;
    }
}

// ---- what is left of a reply ----

TEST(FreedReply, leavesNoneOfItsTexts) {
    const std::string secret(500, 's');
    const std::string text = "$500\r\n" + secret + "\r\n";
    ScriptedReply server("*2\r\n" + text + "*1\r\n" + text);
    RedisReply reply = sendRedisCommand(server.context(), {"PING"});
    ASSERT_NE(reply, nullptr);
    const Places places = {reply->element[0]->str, reply->element[1]->element[0]->str};
    for (const char* place : places) {
        EXPECT_EQ(memoryAt(place, secret.size()), secret);
    }
    reply.reset();
    for (const char* place : places) {
        EXPECT_EQ(memoryAt(place, secret.size()).find("ssss"), std::string::npos);
    }
}

// ---- taking pushed replies ----

TEST(TakenReply, isNullWhenTheConnectionFails) {
    ScriptedReply server("+one\r\n!rubbish\r\n");
    RedisReply reply = sendRedisCommand(server.context(), {"PING"});
    ASSERT_NE(reply, nullptr);
    EXPECT_FALSE(takeRedisReply(server.context(), reply));
    EXPECT_EQ(reply, nullptr);
}

TEST(TakenReply, isTheNextOne) {
    ScriptedReply server("+one\r\n+two\r\n");
    RedisReply reply = sendRedisCommand(server.context(), {"PING"});
    ASSERT_NE(reply, nullptr);
    EXPECT_STREQ(reply->str, "one");
    ASSERT_TRUE(takeRedisReply(server.context(), reply));
    EXPECT_STREQ(reply->str, "two");
}

} // namespace
