// Every command of every operation goes wrong in turn: the connection is lost in its place, or the
// server refuses it, or no reply comes. Results, messages and what is left are compared literally.

#include "store/array_elements.h"
#include "store/resource_store.h"
#include "tests/requests/redis_proxy.h"
#include "tests/store/store_fixture.h"

#include <hiredis/hiredis.h>

using nlohmann::json;

namespace {

using Operation = std::function<int(redisContext*)>;

const std::string NO_REPLY = "[ERROR] Redis get reply failed!\n";
const std::string NO_REPLIES = NO_REPLY + NO_REPLY + NO_REPLY;
const std::string NO_TYPE = "[ERROR] Gets resource type failed.\n";
const std::string UNREAD = "[ERROR] Gets redis resource failed. RESOURCE=";
const std::string NOT_UNLINKED = "[ERROR] The redis UNLINK failed with NULL result. URI=";
const std::string NULL_RESULT = "[ERROR] Updates property failed with NULL result.\n";
const std::string REFUSED_LINE = "[ERROR] Updates property reply type is incorrect.\n";
const std::string NOT_WRITTEN = "[ERROR] Writes resource failed. URI=/x, RESULT_CODE=";
const std::string WRONG_TYPE = "[ERROR] Gets the resource type failed.\n";
const std::string NO_COUNT = "[ERROR] Gets array element count failed.\n";
const std::string NO_LLEN = "[ERROR] The redis LLEN command failed with NULL result. URI=&&/x/A\n";
const std::string NO_LTRIM = "[ERROR] The redis LTRIM command failed with NULL result.\n";
const std::string NOT_CLEARED = "[ERROR] Clears array elements failed.\n";

std::string counterNotSet(int from, int to) {
    return "[ERROR] Updates Array Sequence Id from " + std::to_string(from) + " to " +
           std::to_string(to) + " failed!\n";
}

int readAll(redisContext* connection) {
    json value;
    return getResource(connection, "/x", value);
}

int removeAll(redisContext* connection) {
    return removeResource(connection, "/x", true, true);
}

int replace(redisContext* connection) {
    return writeResource(connection, "/x", {{"New", 1}});
}

int clear(redisContext* connection) {
    return clearArrayElements(connection, "/x", "A", false);
}

Operation writeAt(const std::string& uri, const json& value) {
    return [=](redisContext* connection) { return writeResource(connection, uri, value); };
}

const Operation WRITE_TREE = writeAt("/y", {{"A", 1}, {"B", {{{"N", 2}}}}});
const Operation WRITE_FIELDS = writeAt("/y", {{"A", 1}, {"B", 2}, {"C", 3}});

enum class Fault { CUT, REFUSED, MUTE };

// The fault comes at the first command that begins so; from a muted one on, the connection gives no
// replies instead of waiting for them.
struct FaultRow {
    const char* name;
    Operation operation;
    Fault fault;
    Command at;
    int result;
    std::string errors;
    std::string keys = "&&/x/A &&/x/A/1 &&/x/O /x"; // that are there afterwards
};

void PrintTo(const FaultRow& row, std::ostream* stream) {
    *stream << row.name;
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
    LostConnection() {
        client.command("HSET", "/x", "&&Object O &&/x/O", "");
        client.command("HSET", "/x", "&&Array A &&/x/A", "");
        client.command("HSET", "&&/x/O", "N", "1");
        client.command("RPUSH", "&&/x/A", "1", "&&Object &&/x/A/1");
        client.command("HSET", "&&/x/A/1", "N", "1");
    }

    static Outcome run(const Operation& operation, redisContext* connection) {
        Outcome outcome;
        outcome.errors = errorsOf([&] { outcome.result = operation(connection); });
        return outcome;
    }

    // The operation while the interceptor answers in the server's place.
    Outcome with(RedisProxy::Interceptor interceptor, const Operation& operation) {
        const RedisProxy proxy(server, std::move(interceptor));
        return run(operation, proxy.context());
    }

    Outcome refuseAt(const Command& beginning, const Operation& operation) {
        return with(answerOnce(beginning, ERROR_REPLY), operation);
    }

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

    Outcome with(const FaultRow& row) {
        if (row.fault == Fault::MUTE) {
            return muteFrom(row.at, row.operation);
        }
        const std::string reply = row.fault == Fault::CUT ? CLOSE_CONNECTION : ERROR_REPLY;
        return with(answerOnce(row.at, reply), row.operation);
    }

    // The keys but for the counter, in one line.
    std::string keys() {
        std::string names;
        for (const std::string& key : client.keys()) {
            if (key != "Array-Member-Sequence-ID") {
                names += (names.empty() ? "" : " ") + key;
            }
        }
        return names;
    }
};

class LostConnections : public LostConnection, public testing::WithParamInterface<FaultRow> {};

TEST_P(LostConnections, HaveTheirResultAndMessages) {
    const FaultRow& row = GetParam();
    EXPECT_EQ(with(row), (Outcome{row.result, row.errors}));
    if (row.fault != Fault::MUTE) { // chance decides what the server still gets without waiting
        EXPECT_EQ(keys(), row.keys);
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(EachCommand, LostConnections, testing::ValuesIn(std::vector<FaultRow>{
    {"TypeOfARead",                 readAll, Fault::CUT,     {"TYPE"},                STORE_NO_TYPE, NO_TYPE},
    {"TopOfARead",                  readAll, Fault::CUT,     {"HGETALL", "/x"},       STORE_MISSING, NO_REPLY},
    {"NestedHashOfARead",           readAll, Fault::CUT,     {"HGETALL", "&&/x/O"},   STORE_MISSING, NO_REPLY},
    {"NestedListOfARead",           readAll, Fault::CUT,     {"LRANGE"},              STORE_MISSING, NO_REPLY},
    {"LastLevelOfARead",            readAll, Fault::CUT,     {"HGETALL", "&&/x/A/1"}, STORE_MISSING, NO_REPLY},
    {"NoReplyForTheTopOfARead",     readAll, Fault::MUTE,    {"TYPE"},                STORE_MISSING, UNREAD + "/x\n"},
    {"NoReplyForANestedKeyOfARead", readAll, Fault::MUTE,    {"HGETALL", "/x"},       STORE_MISSING, UNREAD + "&&/x/O\n"},
    {"RefusedTypeIsNoResource",     readAll, Fault::REFUSED, {"TYPE"},                STORE_MISSING, ""},
    {"RefusedTopOfARead",           readAll, Fault::REFUSED, {"HGETALL", "/x"},       STORE_MISSING, UNREAD + "/x\n"},
    {"RefusedNestedKeyOfARead",     readAll, Fault::REFUSED, {"LRANGE"},              STORE_MISSING, UNREAD + "&&/x/A\n"},

    {"TypeOfARemoval",              removeAll, Fault::CUT,     {"TYPE"},             STORE_NO_TYPE, NO_TYPE},
    {"TopOfARemoval",               removeAll, Fault::CUT,     {"HGETALL", "/x"},    STORE_MISSING, NO_REPLY},
    {"NestedKeyOfARemoval",         removeAll, Fault::CUT,     {"LRANGE"},           STORE_MISSING, NO_REPLY},
    {"NoReplyForAKeyOfARemoval",    removeAll, Fault::MUTE,    {"HGETALL", "/x"},    STORE_MISSING, UNREAD + "&&/x/O\n"},
    {"RefusedKeyOfARemoval",        removeAll, Fault::REFUSED, {"LRANGE"},           STORE_MISSING, UNREAD + "&&/x/A\n"},
    {"SecondUnlinkOfARemoval",      removeAll, Fault::CUT,     {"UNLINK", "&&/x/O"}, STORE_MISSING, NO_REPLIES, "&&/x/A &&/x/A/1 &&/x/O"},
    {"NoReplyForAnyUnlink",         removeAll, Fault::MUTE,    {"HGETALL", "&&/x/A/1"}, STORE_MISSING,
     NOT_UNLINKED + "/x\n" + NOT_UNLINKED + "&&/x/O\n" + NOT_UNLINKED + "&&/x/A\n" + NOT_UNLINKED + "&&/x/A/1\n"},
    {"RefusedUnlinkLeavesItsKey",   removeAll, Fault::REFUSED, {"UNLINK", "&&/x/O"}, STORE_OK, "", "&&/x/O"},

    {"RemovalBeforeAWrite",         replace, Fault::CUT,  {"HGETALL", "/x"},         STORE_MISSING, NO_REPLY + NOT_WRITTEN + "-2\n"},
    {"LastUnlinkBeforeAWrite",      replace, Fault::CUT,  {"UNLINK", "&&/x/A/1"},    STORE_MISSING, NO_REPLY + NOT_WRITTEN + "-2\n", "&&/x/A/1"},
    {"TypeBeforeAWrite",            WRITE_FIELDS, Fault::CUT,     {"TYPE"},            STORE_OK, NO_REPLIES},
    {"CounterBeforeAWrite",         WRITE_FIELDS, Fault::CUT,     {"INCR"},            STORE_OK, NO_REPLIES},
    {"NoReplyToAnyFieldOfAWrite",   WRITE_FIELDS, Fault::MUTE,    {"INCR"},            STORE_OK, NULL_RESULT + NULL_RESULT + NULL_RESULT},
    {"RefusedFieldOfAWrite",        WRITE_FIELDS, Fault::REFUSED, {"HSET", "/y", "B"}, STORE_OK, REFUSED_LINE, "&&/x/A &&/x/A/1 &&/x/O /x /y"},
    {"SecondFieldOfAWrite",         WRITE_TREE, Fault::CUT, {"HSET", "/y", "&&Array B &&/y/B"}, STORE_OK, NO_REPLIES + counterNotSet(1, 2), "&&/x/A &&/x/A/1 &&/x/O /x /y"},
    {"CounterAfterAWrite",          WRITE_TREE, Fault::CUT,     {"SET"}, STORE_OK, counterNotSet(1, 2), "&&/x/A &&/x/A/1 &&/x/O &&/y/B &&/y/B/1 /x /y"},
    {"RefusedCounterAfterAWrite",   WRITE_TREE, Fault::REFUSED, {"SET"}, STORE_OK, counterNotSet(1, 2), "&&/x/A &&/x/A/1 &&/x/O &&/y/B &&/y/B/1 /x /y"},

    {"TypeOfAClearing",             clear, Fault::CUT,     {"TYPE"},    STORE_NO_TYPE,     NO_TYPE + WRONG_TYPE},
    {"TopOfAClearing",              clear, Fault::CUT,     {"HGETALL"}, STORE_MISSING,     NO_REPLY},
    {"LengthOfAClearing",           clear, Fault::CUT,     {"LLEN"},    STORE_NO_LENGTH,   NO_LLEN + NO_COUNT},
    {"RefusedLengthOfAClearing",    clear, Fault::REFUSED, {"LLEN"},    STORE_NO_LENGTH,   NO_COUNT},
    {"TrimOfAClearing",             clear, Fault::CUT,     {"LTRIM"},   STORE_MISSING,     NO_LTRIM},
    {"RefusedTrimOfAClearing",      clear, Fault::REFUSED, {"LTRIM"},   STORE_NOT_CLEARED, NOT_CLEARED},
}), [](const auto& row) { return std::string(row.param.name); });
// clang-format on

TEST_F(LostConnection, ASecondTypeThatIsCutEndsAWrite) {
    int types = 0;
    const auto cutSecondType = [&types](const Command& command) -> std::optional<std::string> {
        const bool isSecond = command[0] == "TYPE" && ++types == 2;
        return isSecond ? std::optional(CLOSE_CONNECTION) : std::nullopt;
    };
    EXPECT_EQ(with(cutSecondType, replace),
              (Outcome{STORE_NO_TYPE, NO_TYPE + NOT_WRITTEN + "-3\n"}));
}

TEST_F(LostConnection, ATopKeyThatMeanwhileIsOfAnotherTypeIsUnread) {
    const std::string wrongType = "-WRONGTYPE Operation against a key\r\n";
    for (const Operation& operation : {Operation(readAll), Operation(removeAll)}) {
        EXPECT_EQ(with(answerOnce({"HGETALL", "/x"}, wrongType), operation),
                  (Outcome{STORE_MISSING, UNREAD + "/x\n"}));
    }
    EXPECT_EQ(client.keys().size(), 4U);
}

TEST_F(LostConnection, AResourceThatWentMeanwhileEndsAWrite) {
    client.command("DEL", "/x");
    // The first question finds a hash, the second one nothing.
    EXPECT_EQ(with(answerOnce({"TYPE"}, HASH_TYPE_REPLY), replace),
              (Outcome{STORE_MISSING, NOT_WRITTEN + "-2\n"}));
    EXPECT_EQ(client.command("EXISTS", "/x").integer, 0);
}

TEST_F(LostConnection, AFailedCounterIsLoggedWithBothIds) {
    client.command("SET", "Array-Member-Sequence-ID", "41");
    const Operation write = writeAt("/y", {{{"N", 1}}, {{"N", 2}}});
    EXPECT_EQ(refuseAt({"SET"}, write), (Outcome{STORE_OK, counterNotSet(42, 44)}));
}

TEST_F(LostConnection, WithoutACounterElementsAreNamedByTheirIndex) {
    const auto refuseCounter = [](const Command& command) -> std::optional<std::string> {
        const bool counts = command[0] == "INCR" || command[0] == "SET";
        return counts ? std::optional(ERROR_REPLY) : std::nullopt;
    };
    EXPECT_EQ(with(refuseCounter, writeAt("/y", {{{"N", 1}}, "two", {{"N", 3}}})),
              (Outcome{STORE_OK, ""}));
    EXPECT_EQ(client.list("/y"),
              (std::vector<std::string>{"&&Object &&/y/0", "\"two\"", "&&Object &&/y/2"}));
    EXPECT_EQ(client.hash("&&/y/2"), (std::map<std::string, std::string>{{"N", "3"}}));
}

TEST_F(LostConnection, AnUpdateWithConfigurationLooksAtNoReply) {
    const json styled = arrayStyle(1, 4);
    const auto update = [&styled](redisContext* connection) {
        return updateResource(connection, "/x", {{"A", {5, nullptr, 7}}, {"N", 1}}, styled);
    };
    const std::string info = "[INFO] Input Array style =1, maxSize=4, fill null element=0\n";
    EXPECT_EQ(refuseAt({"LSET", "&&/x/A", "0"}, update), (Outcome{STORE_OK, info}));
    EXPECT_EQ(client.list("&&/x/A"), (std::vector<std::string>{"1", "7"}));
    EXPECT_EQ(client.command("EXISTS", "&&/x/A/1").integer, 0);
    EXPECT_EQ(refuseAt({"RPUSH"}, update), (Outcome{STORE_OK, info}));
    EXPECT_EQ(client.list("&&/x/A"), std::vector<std::string>{"5"});
}

TEST_F(LostConnection, AnUpdateWithoutConfigurationGoesOnAfterAFailedRemoval) {
    const auto update = [](redisContext* connection) {
        return updateResource(connection, "/x", {{"A", {5}}}, nullptr);
    };
    EXPECT_EQ(refuseAt({"UNLINK", "&&/x/A"}, update), (Outcome{STORE_OK, ""}));
    EXPECT_EQ(client.list("&&/x/A"), (std::vector<std::string>{"1", "&&Object &&/x/A/1", "5"}));
}

// The server itself closes the connection, since the reply is longer than it allows.
TEST_F(LostConnection, AServerThatClosesTheConnectionEndsTheOperation) {
    client.command("HSET", "&&/x/A/1", "Long", std::string(3 << 20, 'x'));
    RedisClient own(server);
    client.command("CONFIG", "SET", "client-output-buffer-limit", "normal 1mb 0 0");
    EXPECT_EQ(run(readAll, own.context()), (Outcome{STORE_MISSING, NO_REPLY}));
    EXPECT_EQ(run(readAll, own.context()), (Outcome{STORE_NO_TYPE, NO_TYPE}));
    RedisClient next(server);
    EXPECT_EQ(run(replace, next.context()),
              (Outcome{STORE_MISSING, NO_REPLY + NOT_WRITTEN + "-2\n"}));
    EXPECT_EQ(keys(), "&&/x/A &&/x/A/1 &&/x/O /x");
}
