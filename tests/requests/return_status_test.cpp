// The return-status record: its keys, lifetimes, messages, and what is left when a step fails; the
// answers that requests have in common.

#include "requests/backend_result.h"
#include "requests/refusal.h"
#include "requests/return_status.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"

namespace {

const MessageInfo FULL_MESSAGE = {"M", {"a", "b"}, {"p"}};
const std::string ELEMENT = "q/ExtendedInfo/1";
const std::string ARGUMENTS = ELEMENT + "/MessageArgs";
const std::string RELATED = ELEMENT + "/RelatedProperties";
const std::string COUNTER = "Array-Member-Sequence-ID";

class ReturnStatus : public RequestFixture {
protected:
    bool write(const MessageInfo& message, bool expires = true) {
        return writeAnswer({context(), "q/42", ""},
                           {"FAILURE", nlohmann::json::object(), message, expires});
    }

    // The lifetime that all four keys get.
    std::string lifetime() {
        const std::string commands = commandsOf([this] { EXPECT_TRUE(write(FULL_MESSAGE)); });
        const auto start = commands.find("EXPIRE " + ELEMENT + " ") + ELEMENT.size() + 8;
        std::string seconds = commands.substr(start, commands.find('\n', start) - start);
        for (const std::string& key : {ARGUMENTS, RELATED, std::string("q/ExtendedInfo")}) {
            EXPECT_NE(commands.find("EXPIRE " + key + " " + seconds + "\n"), std::string::npos);
        }
        return seconds;
    }
};

TEST_F(ReturnStatus, SendsItsCommandsInThisOrder) {
    EXPECT_EQ(commandsOf([this] {
                  EXPECT_TRUE(writeReturnStatus(context(), "q/42", {{"&&Location", "/x"}},
                                                "FAILURE", "M", {"a \"b\"", "&&c d"}, {"p"}, true));
              }),
              R"(HGET webDefaultValue REDIS_CONNECTION_DEFAULT_TIMEOUT
TYPE q/42
INCR Array-Member-Sequence-ID
HSET q/42 &&ExtendedInfo q/ExtendedInfo
HSET q/42 &&Location /x
HSET q/42 &&ReturnStatus FAILURE
TYPE q/ExtendedInfo/1
INCR Array-Member-Sequence-ID
HSET q/ExtendedInfo/1 &&MessageArgs q/ExtendedInfo/1/MessageArgs
HSET q/ExtendedInfo/1 &&MessageId M
HSET q/ExtendedInfo/1 &&RelatedProperties q/ExtendedInfo/1/RelatedProperties
EXPIRE q/ExtendedInfo/1 6
TYPE q/ExtendedInfo/1/MessageArgs
INCR Array-Member-Sequence-ID
RPUSH q/ExtendedInfo/1/MessageArgs "\"a \\\"b\\\"\""
RPUSH q/ExtendedInfo/1/MessageArgs "&&c d"
EXPIRE q/ExtendedInfo/1/MessageArgs 6
TYPE q/ExtendedInfo/1/RelatedProperties
INCR Array-Member-Sequence-ID
RPUSH q/ExtendedInfo/1/RelatedProperties "\"p\""
EXPIRE q/ExtendedInfo/1/RelatedProperties 6
TYPE q/ExtendedInfo
INCR Array-Member-Sequence-ID
RPUSH q/ExtendedInfo "\"q/ExtendedInfo/1\""
EXPIRE q/ExtendedInfo 6
)");
    EXPECT_EQ(log(), "");
}

TEST_F(ReturnStatus, HasItsInformationBesideTheLastSegmentOfTheStatusKey) {
    const std::vector<std::array<std::string, 2>> table = {
        {"plain", "ExtendedInfo"},
        {"a/b/c", "a/b/ExtendedInfo"},
        {"a/", "a/ExtendedInfo"},
    };
    for (const auto& [statusKey, info] : table) {
        EXPECT_TRUE(writeReturnStatus(context(), statusKey, nlohmann::json::object(), "FAILURE",
                                      "M", {"a"}, true));
        EXPECT_EQ(client.hash(statusKey).at("&&ExtendedInfo"), info);
        EXPECT_EQ(client.list(info), std::vector<std::string>{"\"" + info + "/1\""});
        EXPECT_EQ(answer(statusKey), "FAILURE M (a)");
    }
}

TEST_F(ReturnStatus, WithoutAMessagePointsAtNothing) {
    EXPECT_TRUE(write({"", {"a"}, {"p"}}));
    EXPECT_EQ(client.hash("q/42"),
              (std::map<std::string, std::string>{{"&&ReturnStatus", "FAILURE"}}));
    // The element is an empty object, which leaves no key.
    EXPECT_EQ(client.keys(),
              (std::vector<std::string>{COUNTER, "q/42", "q/ExtendedInfo", ARGUMENTS, RELATED}));
}

TEST_F(ReturnStatus, NamesTheKeyOfArgumentsThatAreNotThere) {
    EXPECT_TRUE(write({"M", {}, {}}));
    EXPECT_EQ(client.hash(ELEMENT), (std::map<std::string, std::string>{
                                        {"&&MessageId", "M"}, {"&&MessageArgs", ARGUMENTS}}));
    EXPECT_EQ(client.command("EXISTS", ARGUMENTS).integer, 0);
}

TEST_F(ReturnStatus, ReplacesWhatStoodThere) {
    client.command("HSET", "q/42", "&&Location", "/old", "&&ReturnStatus", "OK");
    client.command("RPUSH", "q/ExtendedInfo", "old");
    client.command("HSET", ELEMENT, "&&RelatedProperties", "old");
    client.command("RPUSH", ARGUMENTS, "old");
    EXPECT_TRUE(write({"M", {"new"}, {}}));
    EXPECT_EQ(client.hash("q/42"),
              (std::map<std::string, std::string>{{"&&ReturnStatus", "FAILURE"},
                                                  {"&&ExtendedInfo", "q/ExtendedInfo"}}));
    EXPECT_EQ(client.list("q/ExtendedInfo").size(), 1U);
    EXPECT_EQ(answer("q/42"), "FAILURE M (new)");
}

TEST_F(ReturnStatus, LivesASecondLongerThanTheFrontEndWaits) {
    const std::vector<std::array<std::string, 2>> table = {
        {"5000", "6"},
        {"999", "1"},
        {"0", "1"},
        {"1000", "2"},
        {"59999", "60"},
        {" 9000", "10"},
        {"+9000", "10"},
        {"9000ms", "10"},
        {"2147483646999", "2147483647"}, // the largest number of seconds
        {"99999999999999", "2147483647"},
        {"", "6"},
        {"rubbish", "6"},
        {"-5000", "6"},
        {"-1", "6"},
        {"\"5000\"", "6"},
        {"99999999999999999999999", "6"},
    };
    EXPECT_EQ(lifetime(), "6"); // no such field
    for (const auto& [timeout, seconds] : table) {
        client.command("HSET", "webDefaultValue", "REDIS_CONNECTION_DEFAULT_TIMEOUT", timeout);
        EXPECT_EQ(lifetime(), seconds) << timeout;
    }
    client.command("DEL", "webDefaultValue");
    client.command("SET", "webDefaultValue", "no hash");
    EXPECT_EQ(lifetime(), "6");
}

TEST_F(ReturnStatus, NeverExpiresItself) {
    EXPECT_TRUE(write(FULL_MESSAGE));
    EXPECT_EQ(client.command("TTL", "q/42").integer, -1);
    EXPECT_GT(client.command("TTL", "q/ExtendedInfo").integer, 0);
}

TEST_F(ReturnStatus, StaysAsAWholeWithoutExpiry) {
    const std::string commands = commandsOf([this] { EXPECT_TRUE(write(FULL_MESSAGE, false)); });
    EXPECT_EQ(commands.find("EXPIRE"), std::string::npos);
    EXPECT_EQ(answer("q/42"), "FAILURE M (a, b) [p]");
}

TEST_F(ReturnStatus, IgnoresLifetimesThatCannotBeSet) {
    const RedisProxy proxy(server, [](const Command& command) -> std::optional<std::string> {
        return command.front() == "EXPIRE" ? std::optional(ERROR_REPLY) : std::nullopt;
    });
    EXPECT_TRUE(writeAnswer({proxy.context(), "q/42", ""},
                            {"FAILURE", nlohmann::json::object(), FULL_MESSAGE}));
    EXPECT_EQ(answer("q/42"), "FAILURE M (a, b) [p]");
    EXPECT_EQ(log(), "");
}

TEST_F(ReturnStatus, LogsAFailedStepAndLeavesOutTheRest) {
    struct Step {
        std::string key; // which seems to be there when it is asked for, and cannot be removed
        std::string line;
        std::vector<std::string> keys; // that are there in the end
    };
    const std::vector<Step> table = {
        {"q/42", "return status key", {}},
        {ELEMENT, "ExtendedInfo element", {COUNTER, "q/42"}},
        {ARGUMENTS, "MessageArgs of ExtendedInfo element", {COUNTER, "q/42", ELEMENT}},
        {RELATED,
         "RelatedProperties of ExtendedInfo element",
         {COUNTER, "q/42", ELEMENT, ARGUMENTS}},
        {"q/ExtendedInfo", "ExtendedInfo", {COUNTER, "q/42", ELEMENT, ARGUMENTS, RELATED}},
    };
    for (const Step& step : table) {
        client.flushAll();
        configure();
        const RedisProxy proxy(server, answerOnce({"TYPE", step.key}, HASH_TYPE_REPLY));
        EXPECT_FALSE(writeAnswer({proxy.context(), "q/42", ""},
                                 {"FAILURE", nlohmann::json::object(), FULL_MESSAGE}));
        EXPECT_EQ(log(), "[Error]: writeReturnStatus write " + step.line + " failed.\n");
        EXPECT_EQ(client.keys(), step.keys) << step.key;
    }
}

TEST_F(ReturnStatus, OfABackendFailureFollowsCodeAndMessage) {
    struct Row {
        std::int32_t code;
        MessageInfo message;
        std::string expected;
    };
    const std::vector<Row> table = {
        {400, {}, "FAILURE ExtendedError.1.2.BadRequest ()"},
        {404, {}, DATABASE_ERROR},
        {500, {}, DATABASE_ERROR},
        {0, {}, DATABASE_ERROR},
        {-1, {}, DATABASE_ERROR},
        {201, {}, DATABASE_ERROR},
        {400, {"Own.1.0.Text", {"a", "b"}, {}}, "FAILURE Own.1.0.Text (a, b)"},
        {503, {"Own.1.0.Text", {}, {"/P", "/Q"}}, "EXCEPTION Own.1.0.Text () [/P, /Q]"},
        {400, {"", {"kept"}, {"/P"}}, "FAILURE ExtendedError.1.2.BadRequest (kept) [/P]"},
    };
    for (const Row& row : table) {
        client.flushAll();
        EXPECT_FALSE(isBackendSuccess(row.code));
        writeErrorReturnStatus(context(), "q/42", row.code, row.message);
        EXPECT_EQ(answer("q/42"), row.expected);
        EXPECT_GT(client.command("TTL", "q/ExtendedInfo").integer, 0);
    }
    EXPECT_TRUE(isBackendSuccess(200));
}

TEST_F(ReturnStatus, OfARefusalIsWrittenAfterItsLine) {
    std::optional<std::string> logAtTheStatus;
    const RedisProxy proxy(server, [&](const Command&) -> std::optional<std::string> {
        logAtTheStatus = logAtTheStatus.value_or(log());
        return std::nullopt;
    });
    EXPECT_FALSE(refuseRequest({proxy.context(), "q/42", ""}, "Reason with 100 %d."));
    EXPECT_EQ(logAtTheStatus, "[Error]: Reason with 100 %d.\n");
    EXPECT_EQ(log(), logAtTheStatus);
    EXPECT_EQ(answer("q/42"), DATABASE_ERROR);
}

TEST_F(ReturnStatus, IsPublishedEvenWhenNobodyWaits) {
    EXPECT_EQ(commandsOf([this] {
                  publishReply({context(), "q/42", "channel with blank"});
              }),
              "PUBLISH \"channel with blank\" q/42\n");
    EXPECT_EQ(log(), "");
}

} // namespace
