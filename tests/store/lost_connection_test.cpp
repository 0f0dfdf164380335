// Every command of every operation goes wrong in turn: the connection is lost in its place, or the
// server refuses it, or no reply comes. Results and messages are compared literally.

#include "store/array_elements.h"
#include "store/remove_resource.h"
#include "store/resource_store.h"
#include "store/write_resource.h"
#include "tests/requests/redis_proxy.h"
#include "tests/store/store_fixture.h"

#include <hiredis/hiredis.h>

using nlohmann::json;

namespace {

const std::string NO_REPLY_LINE = "[ERROR] Redis get reply failed!\n";
const std::string REFUSED_LINE = "[ERROR] Updates property reply type is incorrect.\n";
const std::string NO_TYPE_LINE = "[ERROR] Gets resource type failed.\n";
const std::string NOTHING;

std::string times(std::size_t count, const std::string& line) {
    std::string lines;
    for (; count > 0; --count) {
        lines += line;
    }
    return lines;
}

std::string notWritten(const std::string& uri, int code) {
    return "[ERROR] Writes resource failed. URI=" + uri + ", RESULT_CODE=" + std::to_string(code) +
           "\n";
}

// What an operation gave back and printed.
struct Outcome {
    int result = 0;
    std::string errors;

    bool operator==(const Outcome& other) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << outcome.result << " with\n" << outcome.errors;
}

} // namespace

class LostConnection : public StoreFixture {
protected:
    using Operation = std::function<int(redisContext*)>;

    LostConnection() {
        client.command("HSET", "/x", "&&Object O &&/x/O", "");
        client.command("HSET", "/x", "&&Array A &&/x/A", "");
        client.command("HSET", "&&/x/O", "N", "1");
        client.command("RPUSH", "&&/x/A", "1", "&&Object &&/x/A/1");
        client.command("HSET", "&&/x/A/1", "N", "1");
    }

    // The operation while the interceptor answers in the server's place.
    Outcome with(RedisProxy::Interceptor interceptor, const Operation& operation) {
        const RedisProxy proxy(server, std::move(interceptor));
        return run(operation, proxy.context());
    }

    // The connection is closed in the place of the first command that begins so.
    Outcome cutAt(const Command& beginning, const Operation& operation) {
        return with(answerOnce(beginning, CLOSE_CONNECTION), operation);
    }

    // That command is answered with an error.
    Outcome refuseAt(const Command& beginning, const Operation& operation) {
        return with(answerOnce(beginning, ERROR_REPLY), operation);
    }

    // From the reply to that command on, the connection gives no reply instead of waiting for one.
    Outcome muteFrom(const Command& beginning, const Operation& operation) {
        redisContext* connection = nullptr;
        const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
            if (beginsWith(command, beginning)) {
                connection->flags &= ~REDIS_BLOCK;
            }
            return std::nullopt;
        });
        connection = proxy.context();
        return run(operation, proxy.context());
    }

    static Outcome run(const Operation& operation, redisContext* connection) {
        Outcome outcome;
        outcome.errors = errorsOf([&] { outcome.result = operation(connection); });
        return outcome;
    }
};

TEST_F(LostConnection, EndsARead) {
    const auto read = [](redisContext* connection) {
        json value;
        return getResource(connection, "/x", value);
    };
    EXPECT_EQ(cutAt({"TYPE"}, read), (Outcome{-3, NO_TYPE_LINE}));
    EXPECT_EQ(cutAt({"HGETALL", "/x"}, read), (Outcome{-2, NO_REPLY_LINE}));
    EXPECT_EQ(cutAt({"HGETALL", "&&/x/O"}, read), (Outcome{-2, NO_REPLY_LINE}));
    EXPECT_EQ(cutAt({"LRANGE"}, read), (Outcome{-2, NO_REPLY_LINE}));
    EXPECT_EQ(cutAt({"HGETALL", "&&/x/A/1"}, read), (Outcome{-2, NO_REPLY_LINE}));
    EXPECT_EQ(muteFrom({"TYPE"}, read),
              (Outcome{-2, "[ERROR] Gets redis resource failed. RESOURCE=/x\n"}));
    EXPECT_EQ(muteFrom({"HGETALL", "/x"}, read),
              (Outcome{-2, "[ERROR] Gets redis resource failed. RESOURCE=&&/x/O\n"}));
}

TEST_F(LostConnection, ARefusedTypeIsNoResource) {
    const auto read = [](redisContext* connection) {
        json value;
        return getResource(connection, "/x", value);
    };
    EXPECT_EQ(refuseAt({"TYPE"}, read), (Outcome{-2, NOTHING}));
    EXPECT_EQ(refuseAt({"LRANGE"}, read),
              (Outcome{-2, "[ERROR] Gets redis resource failed. RESOURCE=&&/x/A\n"}));
}

TEST_F(LostConnection, EndsARemovalWhileItLooksForKeys) {
    const auto remove = [](redisContext* connection) {
        return removeResource(connection, "/x", true, true);
    };
    EXPECT_EQ(cutAt({"TYPE"}, remove), (Outcome{-3, NO_TYPE_LINE}));
    EXPECT_EQ(cutAt({"HGETALL", "/x"}, remove), (Outcome{-2, NO_REPLY_LINE}));
    EXPECT_EQ(cutAt({"LRANGE"}, remove), (Outcome{-2, NO_REPLY_LINE}));
    EXPECT_EQ(muteFrom({"HGETALL", "/x"}, remove),
              (Outcome{-2, "[ERROR] Gets redis resource failed. RESOURCE=&&/x/O\n"}));
    EXPECT_EQ(client.keys().size(), 4U);
}

TEST_F(LostConnection, IsToldForEveryKeyStillToRemove) {
    const auto remove = [](redisContext* connection) {
        return removeResource(connection, "/x", true, true);
    };
    EXPECT_EQ(cutAt({"UNLINK", "&&/x/O"}, remove), (Outcome{-2, times(3, NO_REPLY_LINE)}));
    // What went before stays removed.
    EXPECT_EQ(client.keys(), (std::vector<std::string>{"&&/x/A", "&&/x/A/1", "&&/x/O"}));
}

TEST_F(LostConnection, AMissingReplyIsToldWithItsKey) {
    const auto remove = [](redisContext* connection) {
        return removeResource(connection, "/x", true, true);
    };
    const std::string line = "[ERROR] The redis UNLINK failed with NULL result. URI=";
    EXPECT_EQ(
        muteFrom({"HGETALL", "&&/x/A/1"}, remove),
        (Outcome{-2, line + "/x\n" + line + "&&/x/O\n" + line + "&&/x/A\n" + line + "&&/x/A/1\n"}));
}

TEST_F(LostConnection, ARefusedRemovalOfOneKeyLeavesTheOthersGone) {
    const auto remove = [](redisContext* connection) {
        return removeResource(connection, "/x", true, true);
    };
    EXPECT_EQ(refuseAt({"UNLINK", "&&/x/O"}, remove), (Outcome{0, NOTHING}));
    EXPECT_EQ(client.keys(), std::vector<std::string>{"&&/x/O"});
}

TEST_F(LostConnection, AFailedRemovalEndsAWrite) {
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/x", {{"New", 1}});
    };
    int types = 0;
    const auto cutSecondType = [&types](const Command& command) -> std::optional<std::string> {
        const bool isSecond = command[0] == "TYPE" && ++types == 2;
        return isSecond ? std::optional(CLOSE_CONNECTION) : std::nullopt;
    };
    EXPECT_EQ(with(cutSecondType, write), (Outcome{-3, NO_TYPE_LINE + notWritten("/x", -3)}));
    EXPECT_EQ(cutAt({"HGETALL", "/x"}, write), (Outcome{-2, NO_REPLY_LINE + notWritten("/x", -2)}));
    EXPECT_EQ(cutAt({"UNLINK", "&&/x/A/1"}, write),
              (Outcome{-2, NO_REPLY_LINE + notWritten("/x", -2)}));
    // Nothing was written in its place.
    EXPECT_EQ(client.keys(), std::vector<std::string>{"&&/x/A/1"});
}

TEST_F(LostConnection, AResourceThatWentMeanwhileEndsAWrite) {
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/y", {{"New", 1}});
    };
    // The first question finds a hash, the second one nothing.
    EXPECT_EQ(with(answerOnce({"TYPE"}, HASH_TYPE_REPLY), write),
              (Outcome{-2, notWritten("/y", -2)}));
    EXPECT_EQ(client.command("EXISTS", "/y").integer, 0);
}

TEST_F(LostConnection, BeforeAWriteIsToldForEveryCommand) {
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/y", {{"A", 1}, {"B", {2}}});
    };
    EXPECT_EQ(cutAt({"TYPE"}, write), (Outcome{0, times(3, NO_REPLY_LINE)}));
    EXPECT_EQ(cutAt({"INCR"}, write), (Outcome{0, times(3, NO_REPLY_LINE)}));
}

TEST_F(LostConnection, DuringAWriteIsToldForEveryReplyStillToCome) {
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/y", {{"A", 1}, {"B", {{{"N", 2}}}}});
    };
    const std::string counterLine = "[ERROR] Updates Array Sequence Id from 1 to 2 failed!\n";
    EXPECT_EQ(cutAt({"HSET", "/y", "&&Array B &&/y/B"}, write),
              (Outcome{0, times(3, NO_REPLY_LINE) + counterLine}));
    EXPECT_EQ(client.hash("/y"), (std::map<std::string, std::string>{{"A", "1"}}));
}

TEST_F(LostConnection, AtTheEndOfAWriteIsToldWithBothIds) {
    client.command("SET", "Array-Member-Sequence-ID", "41");
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/y", {{{"N", 1}}, {{"N", 2}}});
    };
    EXPECT_EQ(cutAt({"SET"}, write),
              (Outcome{0, "[ERROR] Updates Array Sequence Id from 42 to 44 failed!\n"}));
    EXPECT_EQ(refuseAt({"SET"}, write),
              (Outcome{0, "[ERROR] Updates Array Sequence Id from 43 to 45 failed!\n"}));
}

TEST_F(LostConnection, ARefusedCommandOfAWriteIsToldOnce) {
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/y", {{"A", 1}, {"B", 2}, {"C", 3}});
    };
    EXPECT_EQ(refuseAt({"HSET", "/y", "B"}, write), (Outcome{0, REFUSED_LINE}));
    EXPECT_EQ(client.hash("/y"), (std::map<std::string, std::string>{{"A", "1"}, {"C", "3"}}));
}

TEST_F(LostConnection, AMissingReplyToAWriteIsTold) {
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/y", {{"A", 1}, {"B", 2}});
    };
    EXPECT_EQ(muteFrom({"INCR"}, write),
              (Outcome{0, times(2, "[ERROR] Updates property failed with NULL result.\n")}));
}

TEST_F(LostConnection, WithoutACounterElementsAreNamedByTheirIndex) {
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/y", {{{"N", 1}}, "two", {{"N", 3}}});
    };
    const auto refuseCounter = [](const Command& command) -> std::optional<std::string> {
        const bool counts = command[0] == "INCR" || command[0] == "SET";
        return counts ? std::optional(ERROR_REPLY) : std::nullopt;
    };
    EXPECT_EQ(with(refuseCounter, write), (Outcome{0, NOTHING}));
    EXPECT_EQ(client.list("/y"),
              (std::vector<std::string>{"&&Object &&/y/0", "\"two\"", "&&Object &&/y/2"}));
    EXPECT_EQ(client.hash("&&/y/2"), (std::map<std::string, std::string>{{"N", "3"}}));
}

TEST_F(LostConnection, EndsTheClearingOfAnArray) {
    const auto clear = [](redisContext* connection) {
        return clearArrayElements(connection, "/x", "A", false);
    };
    const std::string wrongType = "[ERROR] Gets the resource type failed.\n";
    const std::string noCount = "[ERROR] Gets array element count failed.\n";
    EXPECT_EQ(cutAt({"TYPE"}, clear), (Outcome{-3, NO_TYPE_LINE + wrongType}));
    EXPECT_EQ(cutAt({"HGETALL"}, clear), (Outcome{-3, NO_REPLY_LINE + wrongType}));
    EXPECT_EQ(cutAt({"LLEN"}, clear),
              (Outcome{-5, "[ERROR] The redis LLEN command failed with NULL result. URI=&&/x/A\n" +
                               noCount}));
    EXPECT_EQ(refuseAt({"LLEN"}, clear), (Outcome{-5, noCount}));
    EXPECT_EQ(cutAt({"LTRIM"}, clear),
              (Outcome{-2, "[ERROR] The redis LTRIM command failed with NULL result.\n"}));
    EXPECT_EQ(refuseAt({"LTRIM"}, clear), (Outcome{-7, "[ERROR] Clears array elements failed.\n"}));
    EXPECT_EQ(client.list("&&/x/A").size(), 2U);
}

TEST_F(LostConnection, AnUpdateWithConfigurationLooksAtNoReply) {
    const json styled = {{"ArrayStyle", 1}, {"ArrayMaxSize", 4}, {"ArrayNullElement", false}};
    const auto update = [&styled](redisContext* connection) {
        return updateResource(connection, "/x", {{"A", {5, nullptr, 7}}, {"N", 1}}, styled);
    };
    const std::string info = "[INFO] Input Array style =1, maxSize=4, fill null element=0\n";
    EXPECT_EQ(refuseAt({"LSET", "&&/x/A", "0"}, update), (Outcome{0, info}));
    EXPECT_EQ(client.list("&&/x/A"), (std::vector<std::string>{"1", "7"}));
    EXPECT_EQ(client.command("EXISTS", "&&/x/A/1").integer, 0);
    EXPECT_EQ(refuseAt({"RPUSH"}, update), (Outcome{0, info}));
    EXPECT_EQ(client.list("&&/x/A"), std::vector<std::string>{"5"});
}

TEST_F(LostConnection, AnUpdateWithoutConfigurationGoesOnAfterAFailedRemoval) {
    const auto update = [](redisContext* connection) {
        return updateResource(connection, "/x", {{"A", {5}}}, nullptr);
    };
    EXPECT_EQ(refuseAt({"UNLINK", "&&/x/A"}, update), (Outcome{0, NOTHING}));
    EXPECT_EQ(client.list("&&/x/A"), (std::vector<std::string>{"1", "&&Object &&/x/A/1", "5"}));
}

// The server itself closes the connection, since the reply is longer than it allows.
TEST_F(LostConnection, AServerThatClosesTheConnectionEndsTheOperation) {
    client.command("HSET", "&&/x/A/1", "Long", std::string(3 << 20, 'x'));
    RedisClient own(server);
    client.command("CONFIG", "SET", "client-output-buffer-limit", "normal 1mb 0 0");
    const auto read = [](redisContext* connection) {
        json value;
        return getResource(connection, "/x", value);
    };
    EXPECT_EQ(run(read, own.context()), (Outcome{-2, NO_REPLY_LINE}));
    EXPECT_EQ(run(read, own.context()), (Outcome{-3, NO_TYPE_LINE}));

    RedisClient next(server);
    const auto write = [](redisContext* connection) {
        return writeResource(connection, "/x", {{"N", 1}});
    };
    EXPECT_EQ(run(write, next.context()), (Outcome{-2, NO_REPLY_LINE + notWritten("/x", -2)}));
    EXPECT_EQ(client.keys().size(), 4U);
}
