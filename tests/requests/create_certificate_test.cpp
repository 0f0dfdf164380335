// Creation of a certificate: its commands, its refusals, and the lock around them.

#include "core/settings.h"
#include "requests/create_certificate.h"
#include "tests/requests/expected_commands.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/fake_backend.h"
#include "tests/support/output_capture.h"

#include <nlohmann/json.hpp>

namespace {

const std::string DEFAULT_ANSWER = "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()";
const std::string LINKS_KEY = "&&" + LOCATIONS + "/Links/Certificates";
const std::string GENERIC_LINE = "[Error]: Create certificate: create certificate error.\n";

class CreateCertificate : public RequestFixture {
protected:
    CreateCertificate() {
        storeCertificateCollection(client, COLLECTION, {"PEM", "PEMchain"});
        client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
        setBackendAnswers(FULL_CREATE_ANSWER);
    }

    int handle(const FrontEndRequest& request) {
        return handleThrough(context(), request);
    }

    int handleThrough(redisContext* connection, const FrontEndRequest& request) {
        return handleCreateCertificate(connection, request.requestKey, request.statusKey, &lock);
    }

    // The commands of one request.
    std::string commandsOf(const FrontEndRequest& request, int expectedResult) {
        storeRequest(client, request);
        CommandMonitor monitor(server);
        EXPECT_EQ(handle(request), expectedResult);
        return withoutId(commandText(monitor.commands()));
    }

    // The identifier that the backend was given for the latest certificate.
    static std::string latestId() {
        return nlohmann::json::parse(backendCalls().back())["certificateId"].get<std::string>();
    }

    // The text with every new URI ending in ID.
    static std::string withoutId(std::string text) {
        if (backendCalls().empty()) {
            return text;
        }
        const std::string uri = COLLECTION + "/" + latestId();
        for (auto place = text.find(uri); place != std::string::npos; place = text.find(uri)) {
            text.replace(place, uri.size(), COLLECTION + "/ID");
        }
        const std::string id = "Id \"\\\"" + latestId() + "\\\"\"";
        if (const auto place = text.find(id); place != std::string::npos) {
            text.replace(place, id.size(), "Id \"\\\"ID\\\"\"");
        }
        return text;
    }

    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
};

// The commands of a creation by FULL_CREATE_ANSWER, step by step; ID stands for the identifier.
const std::string NEW = COLLECTION + "/ID";
const std::string WRITE_RESOURCE = filled(R"(TYPE {NEW}
INCR Array-Member-Sequence-ID
HSET {NEW} &&AllowMethod GET,HEAD,DELETE
HSET {NEW} &&CRUDprefix &&/redfish/v1/CertificateService/CertificateCollection
HSET {NEW} @odata.etag "\"\\\"ETAG\\\"\""
HSET {NEW} @odata.id "\"{NEW}\""
HSET {NEW} @odata.type "\"#Certificate.v1_2_2.Certificate\""
HSET {NEW} CertificateString "\"backend's text\""
HSET {NEW} CertificateType "\"PEM\""
HSET {NEW} Description "\"The resource describes a certificate used to prove the identify of a component, account, or service.\""
HSET {NEW} Id "\"ID\""
HSET {NEW} "&&Object Issuer &&{NEW}/Issuer" ""
HSET &&{NEW}/Issuer CommonName "\"Test CA\""
HSET &&{NEW}/Issuer Email null
HSET {NEW} "&&Array KeyUsage &&{NEW}/KeyUsage" ""
RPUSH &&{NEW}/KeyUsage "\"DigitalSignature\""
RPUSH &&{NEW}/KeyUsage "\"KeyEncipherment\""
HSET {NEW} Name "\"HTTPS Certificate\""
HSET {NEW} "&&Object Subject &&{NEW}/Subject" ""
HSET &&{NEW}/Subject CommonName "\"host.example\""
HSET &&{NEW}/Subject Email "\"a@host.example\""
HSET {NEW} ValidNotAfter "\"2034-01-01T00:00:00Z\""
HSET {NEW} ValidNotBefore "\"2024-01-01T00:00:00Z\""
)",
                                          {{"NEW", NEW}});
const std::string WRITE_KEY = "HSET " + NEW + " &&CertPrivateKey keys/1\n";
const std::string PUSH_MEMBER = "LPUSH &&" + COLLECTION + "/Members \"&&ObjectRef " + NEW + "\"\n";
const std::string LINK_MEMBER = PUSH_MEMBER + filled(R"(INCR Array-Member-Sequence-ID
HSET {COLLECTION} @odata.etag "\"\\\"ETAG\\\"\""
HSET {COLLECTION} Members@odata.count 1
)");
const std::string LINK_LOCATION =
    filled(R"(LPUSH &&{LOCATIONS}/Links/Certificates "&&ObjectRef {NEW}"
HSET {LOCATIONS} @odata.etag "\"ETAG\""
)",
           {{"NEW", NEW}});
const std::string WRITE_OK = BEGIN_STATUS +
                             filled(R"(HSET status/1/result &&Location {NEW}
HSET status/1/result &&ReturnStatus OK
)",
                                    {{"NEW", NEW}}) +
                             WRITE_NO_MESSAGE;
const std::string READ_ALL = READ_RECORD + READ_BODY + READ_TYPES;
const std::string STORE_ALL =
    READ_ALL + WRITE_RESOURCE + WRITE_KEY + LINK_MEMBER + LINK_LOCATION + WRITE_OK + TAKE_GROUP;

TEST_F(CreateCertificate, SendsTheseCommands) {
    const std::string digest = loadEventScript();
    EXPECT_EQ(
        commandsOf(creationRequest(), 1),
        STORE_ALL + READ_DIGEST +
            filled("EVALSHA {DIGEST} 15 add {NEW} Certificate EventGroupId 1 change {COLLECTION} "
                   "CertificateCollection EventGroupId 1 change {LOCATIONS} CertificateLocations "
                   "EventGroupId 1\n",
                   {{"DIGEST", digest}, {"NEW", NEW}}) +
            PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Debug]: CertificateService will generate events when resource is "
                     "created/updated/removed.\n");
}

TEST_F(CreateCertificate, WithEventsOffNoScriptIsAskedFor) {
    configure({{"GenerateResourceEvent", "false"}});
    EXPECT_EQ(commandsOf(creationRequest(), 1), STORE_ALL + PUBLISH_REPLY);
}

TEST_F(CreateCertificate, BackendGetsTheRequest) {
    loadEventScript();
    gRootCaFile = "/etc/roots.pem";
    FrontEndRequest request = creationRequest();
    request.body = R"({"CertificateString":"line 1\"","CertificateType":"PEMchain","Name":"n"})";
    storeRequest(client, request);
    EXPECT_EQ(handle(request), 1);
    gRootCaFile.clear();
    EXPECT_EQ(backendCalls(),
              std::vector<std::string>{R"({"certificateId":")" + latestId() +
                                       R"(","certificateString":"line 1\"",)"
                                       R"("certificateType":"PEMchain","collectionUri":")" +
                                       COLLECTION +
                                       R"(","handler":"create","rootCaFile":"/etc/roots.pem"})"});
}

TEST_F(CreateCertificate, CertificateIsInThreePlaces) {
    loadEventScript();
    storeRequest(client, creationRequest());
    ASSERT_EQ(handle(creationRequest()), 1);
    const std::string uri = COLLECTION + "/" + latestId();
    EXPECT_EQ(client.hash(uri).at("CertificateString"), "\"backend's text\"");
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"),
              std::vector<std::string>{"&&ObjectRef " + uri});
    EXPECT_EQ(client.list(LINKS_KEY), std::vector<std::string>{"&&ObjectRef " + uri});
    EXPECT_EQ(client.hash(STATUS_KEY),
              (std::map<std::string, std::string>{{"&&ReturnStatus", "OK"}, {"&&Location", uri}}));
}

TEST_F(CreateCertificate, ClientsNameAndIdAreOverwritten) {
    loadEventScript();
    FrontEndRequest request = creationRequest();
    request.body = R"({"CertificateString":"t","CertificateType":"PEM","Name":"mine","Id":"mine",
                       "Extra":5})";
    storeRequest(client, request);
    ASSERT_EQ(handle(request), 1);
    const auto stored = client.hash(COLLECTION + "/" + latestId());
    EXPECT_EQ(stored.at("Name"), "\"HTTPS Certificate\"");
    EXPECT_EQ(stored.at("Id"), "\"" + latestId() + "\"");
    EXPECT_EQ(stored.at("Extra"), "5");
}

TEST_F(CreateCertificate, WithoutPrivateKeyNoKeyFieldIsSet) {
    loadEventScript();
    setBackendAnswers(R"({"create":{"code":200}})");
    storeRequest(client, creationRequest());
    ASSERT_EQ(handle(creationRequest()), 1);
    EXPECT_EQ(client.hash(COLLECTION + "/" + latestId()).count("&&CertPrivateKey"), 0U);
}

TEST_F(CreateCertificate, MembersSegmentMeansTheCollection) {
    loadEventScript();
    FrontEndRequest request = creationRequest();
    request.targetUri = COLLECTION + "/Members";
    storeRequest(client, request);
    ASSERT_EQ(handle(request), 1);
    const std::string uri = COLLECTION + "/" + latestId();
    EXPECT_EQ(client.hash(STATUS_KEY).at("&&Location"), uri);
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"),
              std::vector<std::string>{"&&ObjectRef " + uri});
    EXPECT_EQ(nlohmann::json::parse(backendCalls().back())["collectionUri"], COLLECTION);
}

TEST_F(CreateCertificate, OnlyAWholeMembersSegmentIsCutOff) {
    loadEventScript();
    for (const std::string target : {"/c/members", "/c/MyMembers", "/c/Members/x", "/c/Members/",
                                     "Members", "/c/Members/Members"}) {
        SCOPED_TRACE(target);
        storeCertificateCollection(client, target == "/c/Members/Members" ? "/c/Members" : target);
        FrontEndRequest request = creationRequest();
        request.targetUri = target;
        storeRequest(client, request);
        EXPECT_EQ(handle(request), 1);
        EXPECT_EQ(nlohmann::json::parse(backendCalls().back())["collectionUri"],
                  target == "/c/Members/Members" ? "/c/Members" : target);
    }
}

TEST_F(CreateCertificate, EmptyKeysAreRefusedWithoutReply) {
    storeRequest(client, creationRequest());
    for (const auto& [requestKey, statusKey] :
         std::vector<std::pair<std::string, std::string>>{{"", STATUS_KEY}, {"requests/1", ""}}) {
        configure();
        CommandMonitor monitor(server);
        EXPECT_EQ(handleCreateCertificate(context(), requestKey, statusKey, &lock), 0);
        const std::string commands = commandText(monitor.commands());
        EXPECT_EQ(log(), "[Error]: Create certificate: request data structure error.\n");
        EXPECT_EQ(answer(statusKey), DEFAULT_ANSWER);
        EXPECT_EQ(commands.find("PUBLISH"), std::string::npos);
        if (!statusKey.empty()) {
            EXPECT_EQ(commands, defaultFailureCommands());
        }
    }
}

TEST_F(CreateCertificate, UnreadableRecordIsRefusedWithoutReply) {
    CommandMonitor monitor(server);
    EXPECT_EQ(handle(creationRequest()), 0);
    EXPECT_EQ(commandText(monitor.commands()), "TYPE requests/1\n" + defaultFailureCommands());
    EXPECT_EQ(log(), "[Error]: Create certificate: get request data structure failed.\n");
    EXPECT_EQ(answer(), DEFAULT_ANSWER);
}

TEST_F(CreateCertificate, EmptyFieldIsRefusedWithoutReply) {
    for (const std::string field : {"&&ReturnChannel", "&&RequestData", "&&TargetURI"}) {
        SCOPED_TRACE(field);
        client.command("DEL", STATUS_KEY);
        configure();
        FrontEndRequest request = creationRequest();
        request.fields = {{field, ""}};
        EXPECT_EQ(commandsOf(request, 0), READ_RECORD + defaultFailureCommands());
        EXPECT_EQ(log(), "[Error]: Create certificate: request structure missing property.\n");
        EXPECT_EQ(answer(), DEFAULT_ANSWER);
        client.flushAll();
    }
}

TEST_F(CreateCertificate, TargetOfMembersAloneIsEmpty) {
    FrontEndRequest request = creationRequest();
    request.targetUri = "/Members";
    EXPECT_EQ(commandsOf(request, 0), READ_RECORD + defaultFailureCommands());
    EXPECT_EQ(log(), "[Error]: Create certificate: request structure missing property.\n");
}

TEST_F(CreateCertificate, MissingFieldThrows) {
    for (const std::string field : {"&&ReturnChannel", "&&RequestData", "&&TargetURI"}) {
        storeRequest(client, creationRequest());
        client.command("HDEL", "requests/1", field);
        try {
            handle(creationRequest());
            ADD_FAILURE() << field;
        } catch (const nlohmann::json::type_error& failure) {
            EXPECT_STREQ(failure.what(), "[json.exception.type_error.302] type must be string, but "
                                         "is null");
        }
    }
    EXPECT_EQ(pthread_mutex_trylock(&lock), 0);
}

TEST_F(CreateCertificate, HeldLockIsAnsweredBusy) {
    storeRequest(client, creationRequest());
    pthread_mutex_lock(&lock);
    CommandMonitor monitor(server);
    EXPECT_EQ(handle(creationRequest()), 0);
    EXPECT_EQ(commandText(monitor.commands()),
              READ_RECORD +
                  failureCommands("EXCEPTION", "Base.1.9.ServiceTemporarilyUnavailable", {"1"}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: Create certificate: get lock error.\n");
    EXPECT_EQ(answer(), "EXCEPTION Base.1.9.ServiceTemporarilyUnavailable (1)");
    EXPECT_TRUE(backendCalls().empty());
    pthread_mutex_unlock(&lock);
}

TEST_F(CreateCertificate, UnreadableBodyIsAnswered) {
    FrontEndRequest request = creationRequest();
    request.body.clear();
    EXPECT_EQ(commandsOf(request, 0),
              READ_RECORD + "TYPE requests/1/body\n" + defaultFailureCommands() + PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: Create certificate: get request data failed.\n" + GENERIC_LINE);
    EXPECT_EQ(answer(), DEFAULT_ANSWER);
}

TEST_F(CreateCertificate, UnsupportedTypeIsAnsweredWithoutTheBackend) {
    FrontEndRequest request = creationRequest();
    request.body = R"({"CertificateString":"t","CertificateType":"pem"})";
    EXPECT_EQ(commandsOf(request, 0),
              READ_ALL +
                  failureCommands("FAILURE", "Base.1.9.PropertyValueNotInList",
                                  {"pem", "CertificateType"}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(answer(), "FAILURE Base.1.9.PropertyValueNotInList (pem, CertificateType)");
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(log(), GENERIC_LINE);
}

TEST_F(CreateCertificate, BodyWithoutTypeOrTextThrows) {
    for (const std::string body : {R"({"CertificateString":"t"})", R"({"CertificateType":"PEM"})",
                                   R"({"CertificateString":5,"CertificateType":"PEM"})",
                                   R"({"CertificateString":"t","CertificateType":["PEM"]})"}) {
        FrontEndRequest request = creationRequest();
        request.body = body;
        storeRequest(client, request);
        EXPECT_THROW(createCertificate(context(), "requests/1/body", COLLECTION, STATUS_KEY),
                     nlohmann::json::type_error)
            << body;
    }
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(CreateCertificate, BackendsRefusalIsAnswered) {
    setBackendAnswers(R"({"create":{"code":400,"message":{"MessageId":"Own.1.0.Text",
        "MessageArgs":["a","b"],"RelatedProperties":["/CertificateString"]}}})");
    const std::string commands = commandsOf(creationRequest(), 0);
    EXPECT_EQ(commands.find("EVALSHA"), std::string::npos);
    EXPECT_EQ(commands.find(COLLECTION + "/ID"), std::string::npos);
    EXPECT_TRUE(commands.ends_with(PUBLISH_REPLY));
    EXPECT_EQ(answer(), "FAILURE Own.1.0.Text (a, b) [/CertificateString]");
    EXPECT_EQ(log(), GENERIC_LINE);
}

TEST_F(CreateCertificate, BackendsCodeDecidesWhenItGivesNoMessage) {
    const std::vector<std::pair<std::string, std::string>> table = {
        {"400", "FAILURE ExtendedError.1.2.BadRequest ()"},
        {"500", DEFAULT_ANSWER},
        {"0", DEFAULT_ANSWER},
        {"201", DEFAULT_ANSWER},
    };
    for (const auto& [code, expected] : table) {
        setBackendAnswers(R"({"create":{"code":)" + code + "}}");
        storeRequest(client, creationRequest());
        EXPECT_EQ(handle(creationRequest()), 0);
        EXPECT_EQ(answer(), expected) << code;
    }
    EXPECT_EQ(client.command("EXISTS", "&&" + COLLECTION + "/Members").integer, 0);
}

TEST_F(CreateCertificate, ResourceThatCannotBeWrittenIsAnswered) {
    storeRequest(client, creationRequest());
    const RedisProxy proxy(
        server, [done = false](const Command& command) mutable -> std::optional<std::string> {
            const bool isNew =
                command.front() == "TYPE" && command[1].starts_with(COLLECTION + "/");
            return isNew && !std::exchange(done, true) ? std::optional(HASH_TYPE_REPLY)
                                                       : std::nullopt;
        });
    EXPECT_EQ(handleThrough(proxy.context(), creationRequest()), 0);
    EXPECT_EQ(log(), "[Error]: Create certificate: create resource failed\n" + GENERIC_LINE);
    EXPECT_EQ(answer(), DEFAULT_ANSWER);
    EXPECT_EQ(client.command("EXISTS", COLLECTION + "/" + latestId()).integer, 0);
    EXPECT_EQ(client.command("EXISTS", "&&" + COLLECTION + "/Members").integer, 0);
}

TEST_F(CreateCertificate, FailedKeyFieldIsIgnored) {
    loadEventScript();
    storeRequest(client, creationRequest());
    const RedisProxy proxy(server, [](const Command& command) -> std::optional<std::string> {
        const bool isKey = command.size() == 4 && command[2] == "&&CertPrivateKey";
        return isKey ? std::optional(ERROR_REPLY) : std::nullopt;
    });
    EXPECT_EQ(handleThrough(proxy.context(), creationRequest()), 1);
    EXPECT_EQ(answer(), "OK");
}

TEST_F(CreateCertificate, MemberThatCannotBeLinkedLeavesTheResource) {
    client.command("DEL", "&&" + COLLECTION + "/Members");
    client.command("SET", "&&" + COLLECTION + "/Members", "no list");
    EXPECT_EQ(commandsOf(creationRequest(), 0), READ_ALL + WRITE_RESOURCE + WRITE_KEY +
                                                    PUSH_MEMBER + defaultFailureCommands() +
                                                    PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: Create certificate: update Certificate Collection failed.\n" +
                         GENERIC_LINE);
    EXPECT_EQ(answer(), DEFAULT_ANSWER);
    EXPECT_EQ(client.hash(COLLECTION + "/" + latestId()).at("&&CertPrivateKey"), "keys/1");
    EXPECT_EQ(client.command("EXISTS", LINKS_KEY).integer, 0);
}

TEST_F(CreateCertificate, LocationThatCannotBeLinkedLeavesTheMember) {
    client.command("SET", LINKS_KEY, "no list");
    storeRequest(client, creationRequest());
    EXPECT_EQ(handle(creationRequest()), 0);
    EXPECT_EQ(log(),
              "[Error]: Create certificate: update Certificate Locations failed.\n" + GENERIC_LINE);
    EXPECT_EQ(answer(), DEFAULT_ANSWER);
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"),
              std::vector<std::string>{"&&ObjectRef " + COLLECTION + "/" + latestId()});
}

TEST_F(CreateCertificate, FailedEventLeavesStatusOkAndLogsAnError) {
    const std::string commands = commandsOf(creationRequest(), 0);
    EXPECT_EQ(commands, STORE_ALL + READ_DIGEST + PUBLISH_REPLY);
    EXPECT_EQ(answer(), "OK");
    EXPECT_EQ(log(), "[Debug]: CertificateService will generate events when resource is "
                     "created/updated/removed.\n"
                     "[Error]: Cannot get SHA script resourceChange.\n" +
                         GENERIC_LINE);
}

// The state of the lock while each command of a request is being answered.
class CreateCertificateLock : public CreateCertificate {
protected:
    // "held" or "free" for every command, in its order: "TYPE free", ...
    std::map<std::string, std::string> lockAtCommands(int expectedResult) {
        std::map<std::string, std::string> states;
        storeRequest(client, creationRequest());
        const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
            const bool isFree = pthread_mutex_trylock(&lock) == 0;
            if (isFree) {
                pthread_mutex_unlock(&lock);
            }
            states[command[0] + " " + command[1]] = isFree ? "free" : "held";
            return std::nullopt;
        });
        EXPECT_EQ(handleThrough(proxy.context(), creationRequest()), expectedResult);
        EXPECT_EQ(pthread_mutex_trylock(&lock), 0);
        return states;
    }
};

TEST_F(CreateCertificateLock, IsHeldFromTheBodyToTheEventsOfASuccess) {
    const std::string digest = loadEventScript();
    const auto states = lockAtCommands(1);
    EXPECT_EQ(states.at("HGETALL requests/1"), "free");
    EXPECT_EQ(states.at("TYPE requests/1/body"), "held");
    EXPECT_EQ(states.at("EVALSHA " + digest), "held");
    EXPECT_EQ(states.at("PUBLISH answers/1"), "free");
}

TEST_F(CreateCertificateLock, IsHeldUntilAfterTheAnswerOfAFailure) {
    setBackendAnswers(R"({"create":{"code":400}})");
    const auto states = lockAtCommands(0);
    EXPECT_EQ(states.at("HGETALL requests/1"), "free");
    EXPECT_EQ(states.at("PUBLISH answers/1"), "held");
}

} // namespace
