// The command helpers against a real server: the exact command, and the result in every case.

#include "core/redis_commands.h"
#include "tests/support/command_monitor.h"
#include "tests/support/output_capture.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <functional>

namespace {

using Fields = std::map<std::string, std::string>;
using Texts = std::vector<std::string>;

RedisServerOptions withTcp() {
    RedisServerOptions options;
    options.tcpPort = 6379;
    return options;
}

// The helpers work over TCP, the test itself over the socket.
class RedisCommands : public testing::Test {
protected:
    redisContext* context() {
        return mWork.context();
    }

    // What the helpers sent since the beginning of the test.
    std::string sent() {
        return describeCommands(mMonitor.commandsFrom("127.0.0.1:"));
    }

    // A hash, a list and a text under the keys "hash", "list" and "text".
    void fill() {
        mClient.command("HSET", "hash", "field", "value");
        mClient.command("RPUSH", "list", "a", "b", "a", "c", "a");
        mClient.command("SET", "text", "value");
    }

    RedisServer mServer{withTcp()};
    RedisClient mClient{mServer};
    RedisClient mWork = RedisClient::overTcp(mServer);
    CommandMonitor mMonitor{mServer};
};

TEST_F(RedisCommands, sendOneCommandEachAndReduceItsReply) {
    fill();
    const OutputCapture output(STDOUT_FILENO);
    const struct {
        const char* sent;
        std::function<int(redisContext*)> call;
        int result;
    } rows[] = {
        {"HSET hash new 1", [](auto* c) { return redisHSet(c, "hash", "new", "1"); }, 1},
        {"HSET hash new 2", [](auto* c) { return redisHSet(c, "hash", "new", "2"); }, 1},
        {"HSET hash new 2", [](auto* c) { return redisHSet(c, "hash", "new", "2"); }, 1},
        {"HSET list new 1", [](auto* c) { return redisHSet(c, "list", "new", "1"); }, 0},
        {"HEXISTS hash field", [](auto* c) { return redisHExists(c, "hash", "field"); }, 1},
        {"HEXISTS hash none", [](auto* c) { return redisHExists(c, "hash", "none"); }, 0},
        {"HEXISTS none field", [](auto* c) { return redisHExists(c, "none", "field"); }, 0},
        {"HEXISTS list field", [](auto* c) { return redisHExists(c, "list", "field"); }, 0},
        {"HDEL hash none", [](auto* c) { return redisHDel(c, "hash", "none"); }, 0},
        {"HDEL list field", [](auto* c) { return redisHDel(c, "list", "field"); }, 0},
        {"HDEL hash new", [](auto* c) { return redisHDel(c, "hash", "new"); }, 1},
        {"HDEL hash new", [](auto* c) { return redisHDel(c, "hash", "new"); }, 0},
        {"LLEN list", [](auto* c) { return redisLLen(c, "list"); }, 5},
        {"LLEN none", [](auto* c) { return redisLLen(c, "none"); }, 0},
        {"LLEN hash", [](auto* c) { return redisLLen(c, "hash"); }, -1},
        {"LPUSH list head", [](auto* c) { return redisLPush(c, "list", "head"); }, 1},
        {"LPUSH text head", [](auto* c) { return redisLPush(c, "text", "head"); }, 0},
        {"LREM list 1 a", [](auto* c) { return redisLRem(c, "list", 1, "a"); }, 1},
        {"LREM list -1 a", [](auto* c) { return redisLRem(c, "list", -1, "a"); }, 1},
        {"LREM list 0 none", [](auto* c) { return redisLRem(c, "list", 0, "none"); }, 0},
        {"LREM hash 0 a", [](auto* c) { return redisLRem(c, "hash", 0, "a"); }, 0},
        {"EXISTS hash", [](auto* c) { return redisExists(c, "hash"); }, 1},
        {"EXISTS none", [](auto* c) { return redisExists(c, "none"); }, 0},
        {"EXPIRE hash 1000", [](auto* c) { return redisExpire(c, "hash", 1000); }, 1},
        {"EXPIRE none 1000", [](auto* c) { return redisExpire(c, "none", 1000); }, 0},
        {"EXPIRE text -1", [](auto* c) { return redisExpire(c, "text", -1); }, 1},
        {"EXPIRE list 2147483647", [](auto* c) { return redisExpire(c, "list", INT_MAX); }, 1},
        {"DEL hash", [](auto* c) { return redisDel(c, "hash"); }, 1},
        {"DEL hash", [](auto* c) { return redisDel(c, "hash"); }, 0},
    };
    std::string expected;
    for (const auto& [command, call, result] : rows) {
        EXPECT_EQ(call(context()), result) << command;
        expected += std::string(command) + "\n";
    }
    EXPECT_EQ(sent(), expected);
    EXPECT_EQ(mClient.keys(), Texts{"list"});
    EXPECT_EQ(mClient.list("list"), (Texts{"head", "b", "a", "c"}));
    (void)std::fflush(stdout);
    EXPECT_EQ(output.text(), "");
}

TEST_F(RedisCommands, hGetGivesAllBytesOfTheValueOrNothing) {
    fill();
    const std::string value("a\0b\r\n\xff", 6);
    mClient.command("HSET", "hash", "binary", value);
    EXPECT_EQ(redisHGet(context(), "hash", "binary"), value);
    EXPECT_EQ(redisHGet(context(), "hash", "missing"), "");
    EXPECT_EQ(redisHGet(context(), "missing", "field"), "");
    EXPECT_EQ(redisHGet(context(), "list", "field"), "");
    EXPECT_EQ(sent(), "HGET hash binary\n"
                      "HGET hash missing\n"
                      "HGET missing field\n"
                      "HGET list field\n");
}

TEST_F(RedisCommands, lPushTellsTheNewLengthUnlessItFails) {
    fill();
    int length = -7;
    EXPECT_EQ(redisLPush(context(), "hash", "head", length), 0);
    EXPECT_EQ(length, -7);
    EXPECT_EQ(redisLPush(context(), "new", "first", length), 1);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(redisLPush(context(), "list", "head", length), 1);
    EXPECT_EQ(length, 6);
    EXPECT_EQ(mClient.list("list"), (Texts{"head", "a", "b", "a", "c", "a"}));
}

TEST_F(RedisCommands, lRemWithCountZeroRemovesEveryEqualElement) {
    fill();
    EXPECT_EQ(redisLRem(context(), "list", 0, "a"), 3);
    EXPECT_EQ(mClient.list("list"), (Texts{"b", "c"}));
}

TEST_F(RedisCommands, expireSetsSeconds) {
    fill();
    EXPECT_EQ(redisExpire(context(), "hash", 1000), 1);
    const long long left = mClient.command("TTL", "hash").integer;
    EXPECT_TRUE(left > 0 && left <= 1000) << left;
}

TEST_F(RedisCommands, publishSucceedsWhenSomebodyListens) {
    EXPECT_EQ(redisPublish(context(), "channel", "nobody listens"), 0);
    RedisClient subscriber(mServer);
    subscriber.command("SUBSCRIBE", "channel");
    EXPECT_EQ(redisPublish(context(), "channel", "one listens"), 1);
    RedisClient second(mServer);
    second.command("SUBSCRIBE", "channel");
    EXPECT_EQ(redisPublish(context(), "channel", "two listen"), 1);
    RedisAnswer message;
    ASSERT_TRUE(subscriber.nextMessage(message, 60));
    EXPECT_EQ(message.texts(), (Texts{"message", "channel", "one listens"}));
    EXPECT_EQ(sent(), "PUBLISH channel \"nobody listens\"\n"
                      "PUBLISH channel \"one listens\"\n"
                      "PUBLISH channel \"two listen\"\n");
}

TEST_F(RedisCommands, hIncrByGivesTheNewValue) {
    int result = -7;
    EXPECT_EQ(redisHIncrBy(context(), "hash", "counter", 5, result), 1);
    EXPECT_EQ(result, 5);
    EXPECT_EQ(redisHIncrBy(context(), "hash", "counter", -8, result), 1);
    EXPECT_EQ(result, -3);
    EXPECT_EQ(sent(), "HINCRBY hash counter 5\n"
                      "HINCRBY hash counter -8\n");
}

TEST_F(RedisCommands, hIncrByTakesAnErrorForSuccessAndLeavesTheResultAlone) {
    fill();
    int result = -7;
    EXPECT_EQ(redisHIncrBy(context(), "hash", "field", 1, result), 1);
    EXPECT_EQ(redisHIncrBy(context(), "list", "field", 1, result), 1);
    EXPECT_EQ(result, -7);
}

TEST_F(RedisCommands, hGetAllAddsToWhatIsThere) {
    fill();
    const std::string binary("\0\n%s", 4);
    mClient.command("HSET", "hash", "other field", binary);
    Fields fields = {{"kept", "1"}, {"field", "kept too"}};
    EXPECT_EQ(redisHGetAll(context(), "hash", fields), 1);
    EXPECT_EQ(fields, (Fields{{"kept", "1"}, {"field", "kept too"}, {"other field", binary}}));
    EXPECT_EQ(sent(), "HGETALL hash\n");
}

TEST_F(RedisCommands, hGetAllOfNoHashAddsNothing) {
    fill();
    Fields fields;
    EXPECT_EQ(redisHGetAll(context(), "missing", fields), 1);
    EXPECT_EQ(redisHGetAll(context(), "list", fields), 1);
    EXPECT_TRUE(fields.empty());
}

TEST_F(RedisCommands, lRangeAddsTheWholeListInItsOrder) {
    fill();
    const std::string binary("\0\n%s", 4);
    mClient.command("RPUSH", "list", binary, "");
    Texts elements = {"kept"};
    EXPECT_EQ(redisLRange(context(), "list", elements), 1);
    EXPECT_EQ(elements, (Texts{"kept", "a", "b", "a", "c", "a", binary, ""}));
    EXPECT_EQ(sent(), "LRANGE list 0 -1\n");
}

TEST_F(RedisCommands, lRangeOfNoListAddsNothing) {
    fill();
    Texts elements;
    EXPECT_EQ(redisLRange(context(), "missing", elements), 1);
    EXPECT_EQ(redisLRange(context(), "hash", elements), 1);
    EXPECT_TRUE(elements.empty());
}

TEST_F(RedisCommands, hMSetSendsTheFieldsInSortedOrder) {
    const Fields fields = {{"b", "2"}, {"B", "1"}, {"a", ""}};
    EXPECT_EQ(redisHMSet(context(), "hash", fields), 1);
    EXPECT_EQ(mClient.hash("hash"), fields);
    EXPECT_EQ(sent(), "HMSET hash B 1 a \"\" b 2\n");
}

TEST_F(RedisCommands, hMSetStoresAnyBytes) {
    const std::string key("k\0y", 3);
    const Fields fields = {{"blanks", " two  words "},
                           {"line ends", "one\r\ntwo\n"},
                           {std::string("nul\0field", 9), std::string("a\0b\0", 4)},
                           {"percent", "100%s %n %%"},
                           {"bytes", "\xff\x80\x01"}};
    EXPECT_EQ(redisHMSet(context(), key, fields), 1);
    EXPECT_EQ(mClient.hash(key), fields);
}

TEST_F(RedisCommands, hMSetFails) {
    fill();
    EXPECT_EQ(redisHMSet(context(), "list", {{"field", "value"}}), 0);
    EXPECT_EQ(redisHMSet(context(), "hash", {}), 0)
        << "the server refuses a command without fields";
    EXPECT_EQ(mClient.hash("hash"), (Fields{{"field", "value"}}));
}

// Every text is one argument and no format, whatever stands in it.
TEST_F(RedisCommands, textsArriveAsOneArgumentEach) {
    const std::string odd = " 100%s  %d\n\"quoted\" %";
    int length = 0;
    Texts elements;
    Fields fields;
    (void)redisHSet(context(), odd + "h", odd, odd);
    (void)redisHGet(context(), odd + "h", odd);
    (void)redisHExists(context(), odd + "h", odd);
    (void)redisHIncrBy(context(), odd + "h", odd, 1, length);
    (void)redisHGetAll(context(), odd + "h", fields);
    (void)redisHDel(context(), odd + "h", odd);
    (void)redisLPush(context(), odd, odd, length);
    (void)redisLLen(context(), odd);
    (void)redisLRange(context(), odd, elements);
    (void)redisLRem(context(), odd, 2, odd);
    (void)redisPublish(context(), odd, odd);
    (void)redisExists(context(), odd);
    (void)redisExpire(context(), odd, 3);
    (void)redisDel(context(), odd);
    EXPECT_EQ(fields, (Fields{{odd, odd}}));
    EXPECT_EQ(elements, Texts{odd});
    const Commands expected = {{"HSET", odd + "h", odd, odd}, {"HGET", odd + "h", odd},
                               {"HEXISTS", odd + "h", odd},   {"HINCRBY", odd + "h", odd, "1"},
                               {"HGETALL", odd + "h"},        {"HDEL", odd + "h", odd},
                               {"LPUSH", odd, odd},           {"LLEN", odd},
                               {"LRANGE", odd, "0", "-1"},    {"LREM", odd, "2", odd},
                               {"PUBLISH", odd, odd},         {"EXISTS", odd},
                               {"EXPIRE", odd, "3"},          {"DEL", odd}};
    EXPECT_EQ(describeCommands(mMonitor.commandsFrom("127.0.0.1:")), describeCommands(expected));
}

TEST_F(RedisCommands, emptyTextsAreArgumentsToo) {
    EXPECT_EQ(redisHSet(context(), "", "", ""), 1);
    EXPECT_EQ(redisHExists(context(), "", ""), 1);
    EXPECT_EQ(sent(), "HSET \"\" \"\" \"\"\n"
                      "HEXISTS \"\" \"\"\n");
}

// ---- a lost connection ----

class LostConnection : public RedisCommands {
protected:
    LostConnection() {
        (void)std::signal(SIGPIPE, SIG_IGN); // as the daemon does
        (void)mMonitor.stop();
        mServer.stop();
    }
};

TEST_F(LostConnection, givesTheFailureValueOfEveryHelper) {
    const OutputCapture errors(STDERR_FILENO);
    int number = -7;
    Texts elements = {"kept"};
    Fields fields = {{"kept", "1"}};
    EXPECT_EQ(redisHGet(context(), "key", "field"), "");
    EXPECT_EQ(redisHSet(context(), "key", "field", "value"), 0);
    EXPECT_EQ(redisLPush(context(), "key", "value", number), 0);
    EXPECT_EQ(redisLPush(context(), "key", "value"), 0);
    EXPECT_EQ(redisPublish(context(), "channel", "message"), 0);
    EXPECT_EQ(redisDel(context(), "key"), 0);
    EXPECT_EQ(redisExpire(context(), "key", 1), 0);
    EXPECT_EQ(redisHExists(context(), "key", "field"), 0);
    EXPECT_EQ(redisHIncrBy(context(), "key", "field", 1, number), 0);
    EXPECT_EQ(redisHDel(context(), "key", "field"), 0);
    EXPECT_EQ(redisExists(context(), "key"), 0);
    EXPECT_EQ(redisHGetAll(context(), "key", fields), 0);
    EXPECT_EQ(redisLRange(context(), "key", elements), 0);
    EXPECT_EQ(redisHMSet(context(), "key", {{"field", "value"}}), 0);
    EXPECT_EQ(number, -7);
    EXPECT_EQ(elements, Texts{"kept"});
    EXPECT_EQ(fields, (Fields{{"kept", "1"}}));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LostConnection, isToldByListLengthOnStandardOutput) {
    const OutputCapture output(STDOUT_FILENO);
    EXPECT_EQ(redisLLen(context(), "a %s key"), -1);
    (void)std::fflush(stdout);
    EXPECT_EQ(output.text(), ">>> Failed to get list length on a %s key.\n");
}

TEST_F(LostConnection, isToldByListRemovalOnStandardOutput) {
    const OutputCapture output(STDOUT_FILENO);
    EXPECT_EQ(redisLRem(context(), "a %s key", 0, "a %d value"), 0);
    (void)std::fflush(stdout);
    EXPECT_EQ(output.text(), ">>> Failed to remove a %d value element in a %s key.\n");
}

TEST_F(LostConnection, staysLostWhenTheServerIsBack) {
    EXPECT_EQ(redisHSet(context(), "key", "field", "value"), 0);
    mServer.start();
    EXPECT_EQ(redisHSet(context(), "key", "field", "value"), 0);
    EXPECT_EQ(redisHMSet(context(), "key", {{"field", "value"}}), 0);
    EXPECT_EQ(redisHGet(context(), "key", "field"), "");
    EXPECT_TRUE(RedisClient(mServer).keys().empty());
}

} // namespace
