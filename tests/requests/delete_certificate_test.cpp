// Deletion of a certificate: its commands, its refusals, and the lock around them.

#include "requests/delete_certificate.h"
#include "tests/requests/expected_commands.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/fake_backend.h"

#include <nlohmann/json.hpp>

namespace {

const std::string CERTIFICATE = COLLECTION + "/1a";
const std::string DEFAULT_ANSWER = "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()";

class DeleteCertificate : public RequestFixture {
protected:
    DeleteCertificate() {
        client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
        storeRequest(client, deletionRequest(CERTIFICATE));
    }

    int handle() {
        return handleDeleteCertificate(context(), "requests/1", STATUS_KEY, &lock);
    }

    std::string commandsOf(int expectedResult) {
        CommandMonitor monitor(server);
        EXPECT_EQ(handle(), expectedResult);
        return commandText(monitor.commands());
    }

    std::string lockAtTheAnswer(int expectedResult) {
        std::string state;
        const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
            const bool isFree = pthread_mutex_trylock(&lock) == 0;
            if (isFree) {
                pthread_mutex_unlock(&lock);
            }
            if (command.front() == "PUBLISH") {
                state = isFree ? "free" : "held";
            } else {
                EXPECT_EQ(isFree, command[1] == "requests/1") << describeCommands({command});
            }
            return std::nullopt;
        });
        EXPECT_EQ(handleDeleteCertificate(proxy.context(), "requests/1", STATUS_KEY, &lock),
                  expectedResult);
        EXPECT_EQ(pthread_mutex_trylock(&lock), 0);
        return state;
    }

    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
};

const std::string WRITE_OK =
    BEGIN_STATUS + "HSET status/1/result &&ReturnStatus OK_EMPTY\n" + WRITE_NO_MESSAGE;

TEST_F(DeleteCertificate, SendsTheseCommandsAndRemovesNoRecord) {
    const std::string digest = loadEventScript();
    client.command("HSET", CERTIFICATE, "Id", "\"1a\"");
    client.command("RPUSH", "&&" + COLLECTION + "/Members", "&&ObjectRef " + CERTIFICATE);
    EXPECT_EQ(
        commandsOf(1),
        READ_RECORD + WRITE_OK + TAKE_GROUP + READ_DIGEST +
            filled(
                "EVALSHA {DIGEST} 15 delete {URI} Certificate EventGroupId 1 change {COLLECTION} "
                "CertificateCollection EventGroupId 1 change {LOCATIONS} CertificateLocations "
                "EventGroupId 1\n",
                {{"DIGEST", digest}, {"URI", CERTIFICATE}}) +
            PUBLISH_REPLY);
    EXPECT_EQ(client.hash(STATUS_KEY),
              (std::map<std::string, std::string>{{"&&ReturnStatus", "OK_EMPTY"}}));
    EXPECT_EQ(client.command("EXISTS", CERTIFICATE, "&&" + COLLECTION + "/Members").integer, 2);
    EXPECT_EQ(backendCalls(), std::vector<std::string>{R"({"certificateUri":")" + CERTIFICATE +
                                                       R"(","handler":"delete"})"});
    EXPECT_EQ(log(), "[Debug]: CertificateService will generate events when resource is "
                     "created/updated/removed.\n");
}

TEST_F(DeleteCertificate, BodyKeyIsNotNeeded) {
    loadEventScript();
    client.command("HDEL", "requests/1", "&&RequestData");
    EXPECT_EQ(handle(), 1);
}

TEST_F(DeleteCertificate, WithEventsOffItSucceedsAtOnce) {
    configure({{"GenerateResourceEvent", "false"}});
    EXPECT_EQ(commandsOf(1), READ_RECORD + WRITE_OK + TAKE_GROUP + PUBLISH_REPLY);
    EXPECT_EQ(answer(), "OK_EMPTY");
}

TEST_F(DeleteCertificate, UriWithoutSlashIsItsOwnCollection) {
    loadEventScript("return redis.call('RPUSH', 'seen', unpack(KEYS))");
    EXPECT_EQ(finishCertificateDelete(context(), "certificate", STATUS_KEY), 1);
    EXPECT_EQ(client.list("seen").at(6), "certificate");
}

TEST_F(DeleteCertificate, EmptyKeysAreRefusedWithoutReply) {
    for (const auto& [requestKey, statusKey] :
         std::vector<std::pair<std::string, std::string>>{{"", STATUS_KEY}, {"requests/1", ""}}) {
        configure();
        CommandMonitor monitor(server);
        EXPECT_EQ(handleDeleteCertificate(context(), requestKey, statusKey, &lock), 0);
        const std::string commands = commandText(monitor.commands());
        EXPECT_EQ(log(), "[Error]: Delete certificate: request data structure error.\n");
        EXPECT_EQ(answer(statusKey), DEFAULT_ANSWER);
        EXPECT_EQ(commands.find("PUBLISH"), std::string::npos);
    }
}

TEST_F(DeleteCertificate, UnreadableRecordIsRefusedWithoutReply) {
    client.command("DEL", "requests/1");
    EXPECT_EQ(commandsOf(0), "TYPE requests/1\n" + defaultFailureCommands());
    EXPECT_EQ(log(), "[Error]: Delete certificate: get request data structure failed.\n");
    EXPECT_EQ(answer(), DEFAULT_ANSWER);
}

TEST_F(DeleteCertificate, EmptyFieldIsRefusedWithoutReply) {
    for (const std::string field : {"&&ReturnChannel", "&&TargetURI"}) {
        client.flushAll();
        configure();
        storeRequest(client, deletionRequest(CERTIFICATE));
        client.command("HSET", "requests/1", field, "");
        EXPECT_EQ(commandsOf(0), READ_RECORD + defaultFailureCommands());
        EXPECT_EQ(log(), "[Error]: Delete certificate: request structure missing property.\n");
        EXPECT_EQ(answer(), DEFAULT_ANSWER);
    }
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(DeleteCertificate, MissingFieldThrows) {
    for (const std::string field : {"&&ReturnChannel", "&&TargetURI"}) {
        storeRequest(client, deletionRequest(CERTIFICATE));
        client.command("HDEL", "requests/1", field);
        EXPECT_THROW(handle(), nlohmann::json::type_error) << field;
    }
    EXPECT_EQ(pthread_mutex_trylock(&lock), 0);
}

TEST_F(DeleteCertificate, HeldLockIsAnsweredBusy) {
    pthread_mutex_lock(&lock);
    EXPECT_EQ(commandsOf(0),
              READ_RECORD +
                  failureCommands("EXCEPTION", "Base.1.9.ServiceTemporarilyUnavailable", {"1"}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: Delete certificate: get lock error.\n");
    EXPECT_EQ(answer(), "EXCEPTION Base.1.9.ServiceTemporarilyUnavailable (1)");
    EXPECT_TRUE(backendCalls().empty());
    pthread_mutex_unlock(&lock);
}

TEST_F(DeleteCertificate, BackendsCodeDecidesWhenItGivesNoMessage) {
    const std::vector<std::pair<std::string, std::string>> table = {
        {"400", "FAILURE ExtendedError.1.2.BadRequest ()"},
        {"404", DEFAULT_ANSWER},
        {"500", DEFAULT_ANSWER},
        {"204", DEFAULT_ANSWER},
    };
    for (const auto& [code, expected] : table) {
        setBackendAnswers(R"({"delete":{"code":)" + code + "}}");
        EXPECT_EQ(handle(), 0);
        EXPECT_EQ(answer(), expected) << code;
    }
    EXPECT_EQ(log(), "");
}

TEST_F(DeleteCertificate, BackendsRefusalIsAnsweredWithItsMessage) {
    setBackendAnswers(R"({"delete":{"code":404,"message":{"MessageId":"Own.1.0.Gone",
        "MessageArgs":["x"],"RelatedProperties":["/P"]}}})");
    const std::string commands = commandsOf(0);
    EXPECT_TRUE(commands.starts_with(READ_RECORD + "HGET webDefaultValue"));
    EXPECT_TRUE(commands.ends_with(PUBLISH_REPLY));
    EXPECT_EQ(commands.find("HINCRBY"), std::string::npos);
    EXPECT_EQ(answer(), "EXCEPTION Own.1.0.Gone (x) [/P]");
    EXPECT_EQ(log(), "");
}

TEST_F(DeleteCertificate, FailedEventLeavesTheStatusAndLogsAnError) {
    EXPECT_EQ(commandsOf(0), READ_RECORD + WRITE_OK + TAKE_GROUP + READ_DIGEST + PUBLISH_REPLY);
    EXPECT_EQ(answer(), "OK_EMPTY");
    EXPECT_EQ(log(), "[Debug]: CertificateService will generate events when resource is "
                     "created/updated/removed.\n"
                     "[Error]: Cannot get SHA script resourceChange.\n"
                     "[Error]: Delete certificate: create certificate error.\n");
}

TEST_F(DeleteCertificate, SuccessIsAnsweredAfterTheUnlock) {
    loadEventScript();
    EXPECT_EQ(lockAtTheAnswer(1), "free");
}

TEST_F(DeleteCertificate, RefusalIsAnsweredBeforeTheUnlock) {
    setBackendAnswers(R"({"delete":{"code":500}})");
    EXPECT_EQ(lockAtTheAnswer(0), "held");
}

TEST_F(DeleteCertificate, FailedEventIsAnsweredBeforeTheUnlock) {
    EXPECT_EQ(lockAtTheAnswer(0), "held");
}

} // namespace
