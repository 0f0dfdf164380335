// The return-status record: its keys, lifetimes, messages, and what is left when a step fails.

#include "core/redis_commands.h"
#include "requests/return_status.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"

#include <nlohmann/json.hpp>

namespace {

class ReturnStatus : public RequestFixture {
protected:
    // The lifetimes that a status with arguments and related properties sets, in their order.
    std::string lifetimesOfStatus(bool setExpiry = true) {
        CommandMonitor monitor(server);
        EXPECT_TRUE(writeReturnStatus(context(), "q/42", nlohmann::json::object(), "FAILURE", "M",
                                      {"a"}, {"p"}, setExpiry));
        Commands expiries;
        for (const auto& command : monitor.commands()) {
            if (command.front() == "EXPIRE") {
                expiries.push_back(command);
            }
        }
        return describeCommands(expiries);
    }

    void setTimeout(const std::string& value) {
        client.command("HSET", "webDefaultValue", "REDIS_CONNECTION_DEFAULT_TIMEOUT", value);
    }

    static std::string lifetimes(const std::string& seconds) {
        return "EXPIRE q/ExtendedInfo/1 " + seconds + "\n" +
               "EXPIRE q/ExtendedInfo/1/MessageArgs " + seconds + "\n" +
               "EXPIRE q/ExtendedInfo/1/RelatedProperties " + seconds + "\n" +
               "EXPIRE q/ExtendedInfo " + seconds + "\n";
    }
};

TEST_F(ReturnStatus, KeysComeFromTheStatusKey) {
    EXPECT_TRUE(writeReturnStatus(context(), "q/42", {{"&&Location", "/x"}}, "FAILURE",
                                  "Base.1.9.Message", {"one \"quoted\"", "&&two three"},
                                  {"/Property"}, false));
    EXPECT_EQ(client.dumpAll(), "Array-Member-Sequence-ID (string) = 5\n"
                                "q/42 (hash)\n"
                                "  &&ExtendedInfo = q/ExtendedInfo\n"
                                "  &&Location = /x\n"
                                "  &&ReturnStatus = FAILURE\n"
                                "q/ExtendedInfo (list)\n"
                                "  [0] = \"\\\"q/ExtendedInfo/1\\\"\"\n"
                                "q/ExtendedInfo/1 (hash)\n"
                                "  &&MessageArgs = q/ExtendedInfo/1/MessageArgs\n"
                                "  &&MessageId = Base.1.9.Message\n"
                                "  &&RelatedProperties = q/ExtendedInfo/1/RelatedProperties\n"
                                "q/ExtendedInfo/1/MessageArgs (list)\n"
                                "  [0] = \"\\\"one \\\\\\\"quoted\\\\\\\"\\\"\"\n"
                                "  [1] = \"&&two three\"\n"
                                "q/ExtendedInfo/1/RelatedProperties (list)\n"
                                "  [0] = \"\\\"/Property\\\"\"\n");
    EXPECT_EQ(log(), "");
}

TEST_F(ReturnStatus, StatusKeyWithoutSlashHasItsInformationAtTheTop) {
    EXPECT_TRUE(writeReturnStatus(context(), "plain", nlohmann::json::object(), "EXCEPTION", "M",
                                  {}, false));
    EXPECT_EQ(client.keys(), (std::vector<std::string>{"Array-Member-Sequence-ID", "ExtendedInfo",
                                                       "ExtendedInfo/1", "plain"}));
    EXPECT_EQ(client.hash("plain").at("&&ExtendedInfo"), "ExtendedInfo");
}

TEST_F(ReturnStatus, OnlyTheLastSegmentOfTheStatusKeyIsReplaced) {
    EXPECT_TRUE(
        writeReturnStatus(context(), "a/b/c", nlohmann::json::object(), "FAILURE", "M", {}, false));
    EXPECT_EQ(client.hash("a/b/c").at("&&ExtendedInfo"), "a/b/ExtendedInfo");
    EXPECT_EQ(client.list("a/b/ExtendedInfo"), std::vector<std::string>{"\"a/b/ExtendedInfo/1\""});
}

TEST_F(ReturnStatus, WithoutMessageTheRecordPointsAtNothing) {
    EXPECT_TRUE(
        writeReturnStatus(context(), "q/42", nlohmann::json::object(), "OK_EMPTY", "", {}, false));
    EXPECT_EQ(client.dumpAll(), "Array-Member-Sequence-ID (string) = 3\n"
                                "q/42 (hash)\n"
                                "  &&ReturnStatus = OK_EMPTY\n"
                                "q/ExtendedInfo (list)\n"
                                "  [0] = \"\\\"q/ExtendedInfo/1\\\"\"\n");
}

TEST_F(ReturnStatus, ArgumentsOfNoMessageAreWrittenAllTheSame) {
    EXPECT_TRUE(writeReturnStatus(context(), "q/42", nlohmann::json::object(), "OK", "", {"a"},
                                  {"p"}, false));
    EXPECT_EQ(client.keys(),
              (std::vector<std::string>{"Array-Member-Sequence-ID", "q/42", "q/ExtendedInfo",
                                        "q/ExtendedInfo/1/MessageArgs",
                                        "q/ExtendedInfo/1/RelatedProperties"}));
}

TEST_F(ReturnStatus, MessageWithoutArgumentsStillNamesTheirKey) {
    EXPECT_TRUE(
        writeReturnStatus(context(), "q/42", nlohmann::json::object(), "FAILURE", "M", {}, false));
    EXPECT_EQ(client.hash("q/ExtendedInfo/1"),
              (std::map<std::string, std::string>{
                  {"&&MessageId", "M"}, {"&&MessageArgs", "q/ExtendedInfo/1/MessageArgs"}}));
    EXPECT_EQ(client.command("EXISTS", "q/ExtendedInfo/1/MessageArgs").integer, 0);
}

TEST_F(ReturnStatus, ReplacesWhatStoodThere) {
    client.command("HSET", "q/42", "&&Location", "/old", "&&ReturnStatus", "OK");
    client.command("RPUSH", "q/ExtendedInfo", "old");
    client.command("HSET", "q/ExtendedInfo/1", "&&RelatedProperties", "old");
    client.command("RPUSH", "q/ExtendedInfo/1/MessageArgs", "old");
    EXPECT_TRUE(writeReturnStatus(context(), "q/42", nlohmann::json::object(), "FAILURE", "M",
                                  {"new"}, false));
    EXPECT_EQ(client.hash("q/42"),
              (std::map<std::string, std::string>{{"&&ReturnStatus", "FAILURE"},
                                                  {"&&ExtendedInfo", "q/ExtendedInfo"}}));
    EXPECT_EQ(client.list("q/ExtendedInfo"), std::vector<std::string>{"\"q/ExtendedInfo/1\""});
    EXPECT_EQ(client.hash("q/ExtendedInfo/1").count("&&RelatedProperties"), 0U);
    EXPECT_EQ(client.list("q/ExtendedInfo/1/MessageArgs"), std::vector<std::string>{"\"new\""});
}

TEST_F(ReturnStatus, SendsItsCommandsInOrder) {
    CommandMonitor monitor(server);
    EXPECT_TRUE(writeReturnStatus(context(), "q/42", {{"&&Location", "/x"}}, "FAILURE", "M",
                                  {"a", "b"}, {"p"}, true));
    EXPECT_EQ(describeCommands(monitor.commands()),
              "HGET webDefaultValue REDIS_CONNECTION_DEFAULT_TIMEOUT\n"
              "TYPE q/42\n"
              "INCR Array-Member-Sequence-ID\n"
              "HSET q/42 &&ExtendedInfo q/ExtendedInfo\n"
              "HSET q/42 &&Location /x\n"
              "HSET q/42 &&ReturnStatus FAILURE\n"
              "TYPE q/ExtendedInfo/1\n"
              "INCR Array-Member-Sequence-ID\n"
              "HSET q/ExtendedInfo/1 &&MessageArgs q/ExtendedInfo/1/MessageArgs\n"
              "HSET q/ExtendedInfo/1 &&MessageId M\n"
              "HSET q/ExtendedInfo/1 &&RelatedProperties q/ExtendedInfo/1/RelatedProperties\n"
              "EXPIRE q/ExtendedInfo/1 6\n"
              "TYPE q/ExtendedInfo/1/MessageArgs\n"
              "INCR Array-Member-Sequence-ID\n"
              "RPUSH q/ExtendedInfo/1/MessageArgs \"\\\"a\\\"\"\n"
              "RPUSH q/ExtendedInfo/1/MessageArgs \"\\\"b\\\"\"\n"
              "EXPIRE q/ExtendedInfo/1/MessageArgs 6\n"
              "TYPE q/ExtendedInfo/1/RelatedProperties\n"
              "INCR Array-Member-Sequence-ID\n"
              "RPUSH q/ExtendedInfo/1/RelatedProperties \"\\\"p\\\"\"\n"
              "EXPIRE q/ExtendedInfo/1/RelatedProperties 6\n"
              "TYPE q/ExtendedInfo\n"
              "INCR Array-Member-Sequence-ID\n"
              "RPUSH q/ExtendedInfo \"\\\"q/ExtendedInfo/1\\\"\"\n"
              "EXPIRE q/ExtendedInfo 6\n");
}

TEST_F(ReturnStatus, FormWithoutRelatedPropertiesHasNone) {
    EXPECT_TRUE(writeReturnStatus(context(), "q/42", nlohmann::json::object(), "FAILURE", "M",
                                  {"a"}, true));
    EXPECT_EQ(answer("q/42"), "FAILURE M (a)");
    EXPECT_EQ(client.hash("q/ExtendedInfo/1").count("&&RelatedProperties"), 0U);
}

TEST_F(ReturnStatus, LifetimeIsTheTimeoutInSecondsAndOneMore) {
    const std::vector<std::pair<std::string, std::string>> table = {
        {"5000", "6"},
        {"999", "1"},
        {"0", "1"},
        {"1000", "2"},
        {"59999", "60"},
        {"2147483646999", "2147483647"}, // the largest number of seconds
        {"99999999999999", "2147483647"},
    };
    for (const auto& [timeout, seconds] : table) {
        SCOPED_TRACE(timeout);
        setTimeout(timeout);
        EXPECT_EQ(lifetimesOfStatus(), lifetimes(seconds));
    }
}

TEST_F(ReturnStatus, LifetimeIsSixSecondsWithoutUsableTimeout) {
    EXPECT_EQ(lifetimesOfStatus(), lifetimes("6"));
    for (const std::string timeout :
         {"", "rubbish", "-5000", "\"5000\"", "99999999999999999999999"}) {
        SCOPED_TRACE(timeout);
        setTimeout(timeout);
        EXPECT_EQ(lifetimesOfStatus(), lifetimes("6"));
    }
    client.command("DEL", "webDefaultValue");
    client.command("SET", "webDefaultValue", "no hash");
    EXPECT_EQ(lifetimesOfStatus(), lifetimes("6"));
}

TEST_F(ReturnStatus, StatusKeyItselfNeverExpires) {
    (void)lifetimesOfStatus();
    EXPECT_EQ(client.command("TTL", "q/42").integer, -1);
    EXPECT_GT(client.command("TTL", "q/ExtendedInfo").integer, 0);
}

TEST_F(ReturnStatus, NothingExpiresWithoutExpiry) {
    EXPECT_EQ(lifetimesOfStatus(false), "");
    EXPECT_EQ(client.command("TTL", "q/ExtendedInfo").integer, -1);
}

TEST_F(ReturnStatus, BackendCodesMapToStatusAndMessage) {
    struct Row {
        std::int32_t code;
        MessageInfo message;
        std::string expected;
    };
    const std::vector<Row> table = {
        {400, {}, "FAILURE ExtendedError.1.2.BadRequest ()"},
        {404, {}, "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {500, {}, "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {0, {}, "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {-1, {}, "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {201, {}, "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {400, {"Own.1.0.Text", {"a", "b"}, {}}, "FAILURE Own.1.0.Text (a, b)"},
        {503, {"Own.1.0.Text", {}, {"/P", "/Q"}}, "EXCEPTION Own.1.0.Text () [/P, /Q]"},
        {400, {"", {"kept"}, {"/P"}}, "FAILURE ExtendedError.1.2.BadRequest (kept) [/P]"},
    };
    for (const Row& row : table) {
        client.flushAll();
        writeErrorReturnStatus(context(), "q/42", row.code, row.message);
        EXPECT_EQ(answer("q/42"), row.expected);
        EXPECT_GT(client.command("TTL", "q/ExtendedInfo").integer, 0);
    }
}

TEST_F(ReturnStatus, ErrorStatusHasNoOtherFields) {
    client.command("HSET", "q/42", "&&Location", "/old");
    writeErrorReturnStatus(context(), "q/42", 400, {});
    EXPECT_EQ(client.hash("q/42"),
              (std::map<std::string, std::string>{{"&&ReturnStatus", "FAILURE"},
                                                  {"&&ExtendedInfo", "q/ExtendedInfo"}}));
}

TEST_F(ReturnStatus, BusyAnswerAsksToWaitOneSecond) {
    writeBusyReturnStatus(context(), "q/42");
    EXPECT_EQ(answer("q/42"), "EXCEPTION Base.1.9.ServiceTemporarilyUnavailable (1)");
}

TEST_F(ReturnStatus, RefusalIsLoggedOnceAndAnswered) {
    EXPECT_EQ(refuseRequest(context(), "q/42", "Reason with 100 %d."), 0);
    EXPECT_EQ(log(), "[Error]: Reason with 100 %d.\n");
    EXPECT_EQ(answer("q/42"), "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()");
}

TEST_F(ReturnStatus, ReplyThatReachesNobodyIsNoFailure) {
    CommandMonitor monitor(server);
    publishReply(context(), "channel with blank", "q/42");
    EXPECT_EQ(describeCommands(monitor.commands()), "PUBLISH \"channel with blank\" q/42\n");
    EXPECT_EQ(log(), "");
}

// One failed step: the key whose removal fails, the log line, and the keys that are there then.
struct FailedStep {
    std::string name;
    std::string key;
    std::string line;
    std::vector<std::string> keys;
};

void PrintTo(const FailedStep& step, std::ostream* stream) {
    *stream << step.key;
}

class ReturnStatusFailure : public ReturnStatus, public testing::WithParamInterface<FailedStep> {};

TEST_P(ReturnStatusFailure, IsLoggedAndEndsTheWriting) {
    const FailedStep& step = GetParam();
    // The key seems to be there when it is asked for first and cannot be removed then.
    const RedisProxy proxy(server, answerOnce({"TYPE", step.key}, HASH_TYPE_REPLY));
    const bool written = writeReturnStatus(proxy.context(), "q/42", nlohmann::json::object(),
                                           "FAILURE", "M", {"a"}, {"p"}, true);
    EXPECT_FALSE(written);
    EXPECT_EQ(log(), "[Error]: " + step.line + "\n");
    EXPECT_EQ(client.keys(), step.keys);
    EXPECT_EQ(client.command("TTL", step.key).integer, -2);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, ReturnStatusFailure,
    testing::Values(
        FailedStep{"StatusKey", "q/42", "writeReturnStatus write return status key failed.", {}},
        FailedStep{"Element",
                   "q/ExtendedInfo/1",
                   "writeReturnStatus write ExtendedInfo element failed.",
                   {"Array-Member-Sequence-ID", "q/42"}},
        FailedStep{"Arguments",
                   "q/ExtendedInfo/1/MessageArgs",
                   "writeReturnStatus write MessageArgs of ExtendedInfo element failed.",
                   {"Array-Member-Sequence-ID", "q/42", "q/ExtendedInfo/1"}},
        FailedStep{"RelatedProperties",
                   "q/ExtendedInfo/1/RelatedProperties",
                   "writeReturnStatus write RelatedProperties of ExtendedInfo element failed.",
                   {"Array-Member-Sequence-ID", "q/42", "q/ExtendedInfo/1",
                    "q/ExtendedInfo/1/MessageArgs"}},
        FailedStep{"Information",
                   "q/ExtendedInfo",
                   "writeReturnStatus write ExtendedInfo failed.",
                   {"Array-Member-Sequence-ID", "q/42", "q/ExtendedInfo/1",
                    "q/ExtendedInfo/1/MessageArgs", "q/ExtendedInfo/1/RelatedProperties"}}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(ReturnStatus, FailedLifetimesAreIgnored) {
    const RedisProxy proxy(server, [](const Command& command) -> std::optional<std::string> {
        return command.front() == "EXPIRE" ? std::optional(ERROR_REPLY) : std::nullopt;
    });
    EXPECT_TRUE(writeReturnStatus(proxy.context(), "q/42", nlohmann::json::object(), "FAILURE", "M",
                                  {"a"}, {"p"}, true));
    EXPECT_EQ(answer("q/42"), "FAILURE M (a) [p]");
    EXPECT_EQ(log(), "");
}

} // namespace
