// What creation and deletion have in common: the checks of a request, its refusals, and the lock,
// the log and the reply around it.

#include "requests/create_certificate.h"
#include "requests/delete_certificate.h"
#include "tests/requests/expected_commands.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/fake_backend.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace {

struct Handler {
    std::string word; // how its log lines begin
    std::string backend;
    int (*handle)(redisContext*, const std::string&, const std::string&, pthread_mutex_t*);
    FrontEndRequest request;
    std::vector<std::string> fields; // of the request record that it reads
    std::string reading;             // its commands up to the backend's call
    std::string success;
    std::string refusalText; // logged after a refusal of the backend
};

void PrintTo(const Handler& handler, std::ostream* out) {
    *out << handler.word;
}

class CollectionHandler : public RequestFixture, public testing::WithParamInterface<Handler> {
protected:
    CollectionHandler() {
        storeCertificateCollection(client, COLLECTION);
        client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
        storeRequest(client, GetParam().request);
    }

    int handle(redisContext* connection) {
        return GetParam().handle(connection, "requests/1", STATUS_KEY, &lock);
    }

    std::string commandsOfAFailure() {
        return commandsOf([this] { EXPECT_EQ(handle(context()), 0); });
    }

    static std::string line(const std::string& text) {
        return "[Error]: " + GetParam().word + " certificate: " + text + "\n";
    }

    static void orderCode(const std::string& code, const std::string& message = "{}") {
        setBackendAnswers("{\"" + GetParam().backend + "\":{\"code\":" + code +
                          ",\"message\":" + message + "}}");
    }

    bool isLockFree() {
        const bool isFree = pthread_mutex_trylock(&lock) == 0;
        if (isFree) {
            pthread_mutex_unlock(&lock);
        }
        return isFree;
    }

    // Whether the lock is free when the reply is published. Before that it is held from the checked
    // record on. Keeps the log as it stands then.
    bool isLockFreeAtTheReply(int expectedResult) {
        bool isFreeAtTheReply = false;
        const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
            if (command.front() == "PUBLISH") {
                isFreeAtTheReply = isLockFree();
                logAtTheReply = log();
            } else {
                EXPECT_EQ(isLockFree(), command[1] == "requests/1") << describeCommands({command});
            }
            return std::nullopt;
        });
        EXPECT_EQ(handle(proxy.context()), expectedResult);
        EXPECT_TRUE(isLockFree());
        return isFreeAtTheReply;
    }

    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    std::string logAtTheReply;
};

INSTANTIATE_TEST_SUITE_P(Of, CollectionHandler,
                         testing::Values(Handler{"Create",
                                                 "create",
                                                 handleCreateCertificate,
                                                 creationRequest(),
                                                 {"&&ReturnChannel", "&&RequestData",
                                                  "&&TargetURI"},
                                                 READ_RECORD + READ_BODY + READ_TYPES,
                                                 "OK",
                                                 "create certificate error."},
                                         Handler{"Delete",
                                                 "delete",
                                                 handleDeleteCertificate,
                                                 deletionRequest(COLLECTION + "/1a"),
                                                 {"&&ReturnChannel", "&&TargetURI"},
                                                 READ_RECORD,
                                                 "OK_EMPTY",
                                                 ""}),
                         [](const auto& instance) { return instance.param.word; });

TEST_P(CollectionHandler, RefusesEmptyKeysWithoutAReply) {
    for (const auto& [requestKey, statusKey] :
         std::vector<std::pair<std::string, std::string>>{{"requests/1", ""}, {"", STATUS_KEY}}) {
        configure();
        const std::string commands = commandsOf([&, &request = requestKey, &status = statusKey] {
            EXPECT_EQ(GetParam().handle(context(), request, status, &lock), 0);
        });
        EXPECT_EQ(log(), line("request data structure error."));
        EXPECT_EQ(answer(statusKey), DATABASE_ERROR);
        EXPECT_EQ(commands.find("PUBLISH"), std::string::npos);
    }
}

TEST_P(CollectionHandler, RefusesAnUnreadableRecordWithoutAReply) {
    client.command("DEL", "requests/1");
    EXPECT_EQ(commandsOfAFailure(), "TYPE requests/1\n" + defaultFailureCommands());
    EXPECT_EQ(log(), line("get request data structure failed."));
    EXPECT_EQ(answer(), DATABASE_ERROR);
}

TEST_P(CollectionHandler, RefusesAnEmptyFieldWithoutAReply) {
    for (const std::string& field : GetParam().fields) {
        configure();
        client.flushAll();
        storeRequest(client, GetParam().request);
        client.command("HSET", "requests/1", field, "");
        EXPECT_EQ(commandsOfAFailure(), READ_RECORD + defaultFailureCommands()) << field;
        EXPECT_EQ(log(), line("request structure missing property."));
    }
    EXPECT_TRUE(backendCalls().empty());
}

TEST_P(CollectionHandler, LetsTheTypeErrorOfAMissingFieldOut) {
    for (const std::string& field : GetParam().fields) {
        storeRequest(client, GetParam().request);
        client.command("HDEL", "requests/1", field);
        try {
            (void)handle(context());
            ADD_FAILURE() << field;
        } catch (const nlohmann::json::type_error& failure) {
            EXPECT_STREQ(failure.what(),
                         "[json.exception.type_error.302] type must be string, but is null");
        }
    }
    EXPECT_TRUE(isLockFree());
}

TEST_P(CollectionHandler, AnswersBusyWhenTheLockStaysTaken) {
    pthread_mutex_lock(&lock);
    const std::string busy =
        failureCommands("EXCEPTION", "Base.1.9.ServiceTemporarilyUnavailable", {"1"});
    EXPECT_EQ(commandsOfAFailure(), READ_RECORD + busy + PUBLISH_REPLY);
    EXPECT_EQ(log(), line("get lock error."));
    EXPECT_TRUE(backendCalls().empty());
    pthread_mutex_unlock(&lock);
}

TEST_P(CollectionHandler, AnswersARefusalOfTheBackendByItsCodeAndMessage) {
    const std::string own =
        R"({"MessageId":"Own.1.0.X","MessageArgs":["a","b"],"RelatedProperties":["/P"]})";
    const std::vector<std::array<std::string, 3>> table = {
        {"400", "{}", "FAILURE ExtendedError.1.2.BadRequest ()"},
        {"404", "{}", DATABASE_ERROR},
        {"500", "{}", DATABASE_ERROR},
        {"0", "{}", DATABASE_ERROR},
        {"201", "{}", DATABASE_ERROR},
        {"400", own, "FAILURE Own.1.0.X (a, b) [/P]"},
        {"404", own, "EXCEPTION Own.1.0.X (a, b) [/P]"},
    };
    for (const auto& [code, message, expected] : table) {
        configure();
        orderCode(code, message);
        EXPECT_EQ(handle(context()), 0);
        EXPECT_EQ(answer(), expected) << code;
        EXPECT_EQ(log(), GetParam().refusalText.empty() ? "" : line(GetParam().refusalText));
    }
    EXPECT_EQ(client.command("EXISTS", "&&" + COLLECTION + "/Members").integer, 0);
}

TEST_P(CollectionHandler, DoesNothingButAnswerAfterARefusalOfTheBackend) {
    orderCode("400");
    EXPECT_EQ(commandsOfAFailure(), GetParam().reading +
                                        failureCommands("FAILURE", "ExtendedError.1.2.BadRequest") +
                                        PUBLISH_REPLY);
}

TEST_P(CollectionHandler, KeepsTheStatusOfASuccessWhoseEventFails) {
    EXPECT_TRUE(commandsOfAFailure().ends_with(TAKE_GROUP + READ_DIGEST + PUBLISH_REPLY));
    EXPECT_EQ(answer(), GetParam().success);
    EXPECT_EQ(log(), EVENTS_ON_LINE + "[Error]: Cannot get SHA script resourceChange.\n" +
                         line("create certificate error."));
}

TEST_P(CollectionHandler, RepliesToASuccessAfterTheUnlock) {
    loadEventScript();
    EXPECT_TRUE(isLockFreeAtTheReply(1));
}

TEST_P(CollectionHandler, LogsARefusalAndRepliesBeforeTheUnlock) {
    orderCode("500");
    EXPECT_FALSE(isLockFreeAtTheReply(0));
    EXPECT_EQ(logAtTheReply, log());
}

TEST_P(CollectionHandler, LogsAFailedEventAndRepliesBeforeTheUnlock) {
    EXPECT_FALSE(isLockFreeAtTheReply(0));
    EXPECT_TRUE(logAtTheReply.ends_with(line("create certificate error.")));
    EXPECT_EQ(logAtTheReply, log());
}

} // namespace
