// Creation of a certificate, but for what it shares with deletion.

#include "core/settings.h"
#include "requests/create_certificate.h"
#include "tests/requests/expected_commands.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/fake_backend.h"

#include <nlohmann/json.hpp>

namespace {

const std::string MEMBERS_KEY = "&&" + COLLECTION + "/Members";
const std::string LINKS_KEY = "&&" + LOCATIONS + "/Links/Certificates";
const std::string LAST_LINE = "[Error]: Create certificate: create certificate error.\n";

FrontEndRequest creationOf(const std::string& body) {
    FrontEndRequest request = creationRequest();
    request.body = body;
    return request;
}

class CreateCertificate : public RequestFixture {
protected:
    CreateCertificate() {
        storeCertificateCollection(client, COLLECTION, {"PEM", "PEMchain"});
        client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
        setBackendAnswers(FULL_CREATE_ANSWER);
        loadEventScript();
    }

    int handle(const FrontEndRequest& request = creationRequest()) {
        return handleThrough(context(), request);
    }

    int handleThrough(redisContext* connection, const FrontEndRequest& request) {
        storeRequest(client, request);
        return handleCreateCertificate(connection, request.requestKey, request.statusKey, &lock);
    }

    std::string commandsOfRequest(const FrontEndRequest& request, int expectedResult) {
        storeRequest(client, request);
        return withoutId(commandsOf([&] {
            EXPECT_EQ(handleCreateCertificate(context(), "requests/1", STATUS_KEY, &lock),
                      expectedResult);
        }));
    }

    static nlohmann::json latestCall() {
        return nlohmann::json::parse(backendCalls().back());
    }

    // The URI of the latest certificate.
    static std::string latestUri() {
        return COLLECTION + "/" + latestCall()["certificateId"].get<std::string>();
    }

    // The text with ID in the place of the latest certificate's identifier.
    static std::string withoutId(std::string text) {
        if (backendCalls().empty()) {
            return text;
        }
        const auto id = latestCall()["certificateId"].get<std::string>();
        for (const auto& [found, replacement] : std::map<std::string, std::string>{
                 {latestUri(), COLLECTION + "/ID"},
                 {"Id \"\\\"" + id + "\\\"\"", "Id \"\\\"ID\\\"\""}}) {
            for (auto place = text.find(found); place != std::string::npos;
                 place = text.find(found)) {
                text.replace(place, found.size(), replacement);
            }
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

TEST_F(CreateCertificate, SendsItsCommandsInThisOrder) {
    EXPECT_EQ(
        commandsOfRequest(creationRequest(), 1),
        STORE_ALL + READ_DIGEST +
            filled("EVALSHA {DIGEST} 15 add {NEW} Certificate EventGroupId 1 change {COLLECTION} "
                   "CertificateCollection EventGroupId 1 change {LOCATIONS} CertificateLocations "
                   "EventGroupId 1\n",
                   {{"DIGEST", loadEventScript()}, {"NEW", NEW}}) +
            PUBLISH_REPLY);
    EXPECT_EQ(log(), EVENTS_ON_LINE);
}

TEST_F(CreateCertificate, AsksForNoScriptWithEventsOff) {
    configure({{"GenerateResourceEvent", "false"}});
    EXPECT_EQ(commandsOfRequest(creationRequest(), 1), STORE_ALL + PUBLISH_REPLY);
}

TEST_F(CreateCertificate, HandsTheRequestToTheBackend) {
    gRootCaFile = "/etc/roots.pem";
    EXPECT_EQ(handle(creationOf(
                  R"({"CertificateString":"line 1\"","CertificateType":"PEMchain","Name":"n"})")),
              1);
    gRootCaFile.clear();
    nlohmann::json call = latestCall();
    call.erase("certificateId");
    const nlohmann::json expected = {{"handler", "create"},
                                     {"collectionUri", COLLECTION},
                                     {"certificateString", "line 1\""},
                                     {"certificateType", "PEMchain"},
                                     {"rootCaFile", "/etc/roots.pem"}};
    EXPECT_EQ(call, expected);
}

TEST_F(CreateCertificate, OverwritesWhatIsNotTheClientsToSay) {
    nlohmann::json body = {{"CertificateType", "PEM"}, {"Extra", 5}};
    const std::vector<std::string> notTheClients = {
        "Id",          "Name",          "Description",   "@odata.id",         "@odata.etag",
        "@odata.type", "&&AllowMethod", "&&CRUDprefix",  "CertificateString", "Issuer",
        "Subject",     "KeyUsage",      "ValidNotAfter", "ValidNotBefore"};
    for (const std::string& property : notTheClients) {
        body[property] = "client";
    }
    ASSERT_EQ(handle(creationOf(body.dump())), 1);
    const auto stored = client.hash(latestUri());
    EXPECT_EQ(stored.at("Name"), "\"HTTPS Certificate\"");
    EXPECT_EQ(stored.at("Id"), latestCall()["certificateId"].dump());
    EXPECT_EQ(stored.at("Extra"), "5");
    for (const auto& [field, value] : stored) {
        EXPECT_EQ(value.find("client"), std::string::npos) << field;
    }
}

TEST_F(CreateCertificate, SetsNoKeyFieldWithoutAPrivateKey) {
    setBackendAnswers(R"({"create":{"code":200}})");
    ASSERT_EQ(handle(), 1);
    EXPECT_EQ(client.hash(latestUri()).count("&&CertPrivateKey"), 0U);
}

TEST_F(CreateCertificate, CutsAMembersSegmentOffTheTarget) {
    const std::vector<std::pair<std::string, std::string>> table = {
        {COLLECTION + "/Members", COLLECTION},
        {"/c/Members/Members", "/c/Members"},
        {"/c/members", "/c/members"},
        {"/c/MyMembers", "/c/MyMembers"},
        {"/c/Members/x", "/c/Members/x"},
        {"/c/Members/", "/c/Members/"},
        {"Members", "Members"},
    };
    for (const auto& [target, collection] : table) {
        storeCertificateCollection(client, collection);
        FrontEndRequest request = creationRequest();
        request.targetUri = target;
        EXPECT_EQ(handle(request), 1);
        EXPECT_EQ(latestCall()["collectionUri"], collection) << target;
        EXPECT_TRUE(client.hash(STATUS_KEY).at("&&Location").starts_with(collection + "/"));
        EXPECT_EQ(client.list("&&" + collection + "/Members").size(), 1U) << target;
    }
}

TEST_F(CreateCertificate, RefusesATargetOfMembersAlone) {
    FrontEndRequest request = creationRequest();
    request.targetUri = "/Members";
    EXPECT_EQ(commandsOfRequest(request, 0), READ_RECORD + defaultFailureCommands());
    EXPECT_EQ(log(), "[Error]: Create certificate: request structure missing property.\n");
}

TEST_F(CreateCertificate, AnswersAnUnreadableBody) {
    EXPECT_EQ(commandsOfRequest(creationOf(""), 0),
              READ_RECORD + "TYPE requests/1/body\n" + defaultFailureCommands() + PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: Create certificate: get request data failed.\n" + LAST_LINE);
}

TEST_F(CreateCertificate, AnswersAnUnsupportedTypeWithoutAskingTheBackend) {
    EXPECT_EQ(
        commandsOfRequest(creationOf(R"({"CertificateString":"t","CertificateType":"pem"})"), 0),
        READ_ALL +
            failureCommands("FAILURE", "Base.1.9.PropertyValueNotInList",
                            {"pem", "CertificateType"}) +
            PUBLISH_REPLY);
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(log(), LAST_LINE);
}

TEST_F(CreateCertificate, LetsTheTypeErrorOfABodyWithoutTypeOrTextOut) {
    for (const std::string body : {R"({"CertificateString":"t"})", R"({"CertificateType":"PEM"})",
                                   R"({"CertificateString":5,"CertificateType":"PEM"})",
                                   R"({"CertificateString":"t","CertificateType":["PEM"]})"}) {
        storeRequest(client, creationOf(body));
        EXPECT_THROW(createCertificate(context(), "requests/1/body", COLLECTION, STATUS_KEY),
                     nlohmann::json::type_error)
            << body;
    }
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(CreateCertificate, AnswersAResourceThatCannotBeWritten) {
    const RedisProxy proxy(
        server, [done = false](const Command& command) mutable -> std::optional<std::string> {
            const bool isNew =
                command.front() == "TYPE" && command[1].starts_with(COLLECTION + "/");
            return isNew && !std::exchange(done, true) ? std::optional(HASH_TYPE_REPLY)
                                                       : std::nullopt;
        });
    EXPECT_EQ(handleThrough(proxy.context(), creationRequest()), 0);
    EXPECT_EQ(log(), "[Error]: Create certificate: create resource failed\n" + LAST_LINE);
    EXPECT_EQ(answer(), DATABASE_ERROR);
    EXPECT_EQ(client.command("EXISTS", latestUri(), MEMBERS_KEY).integer, 0);
}

TEST_F(CreateCertificate, IgnoresAKeyFieldThatCannotBeSet) {
    const RedisProxy proxy(server, [](const Command& command) -> std::optional<std::string> {
        const bool isKey = command.size() == 4 && command[2] == "&&CertPrivateKey";
        return isKey ? std::optional(ERROR_REPLY) : std::nullopt;
    });
    EXPECT_EQ(handleThrough(proxy.context(), creationRequest()), 1);
    EXPECT_EQ(answer(), "OK");
}

TEST_F(CreateCertificate, LeavesTheResourceWhenItsMemberCannotBeLinked) {
    client.command("SET", MEMBERS_KEY, "no list");
    EXPECT_EQ(commandsOfRequest(creationRequest(), 0), READ_ALL + WRITE_RESOURCE + WRITE_KEY +
                                                           PUSH_MEMBER + defaultFailureCommands() +
                                                           PUBLISH_REPLY);
    EXPECT_EQ(log(),
              "[Error]: Create certificate: update Certificate Collection failed.\n" + LAST_LINE);
    EXPECT_EQ(client.hash(latestUri()).at("&&CertPrivateKey"), "keys/1");
}

TEST_F(CreateCertificate, LeavesTheMemberWhenItsLocationCannotBeLinked) {
    client.command("SET", LINKS_KEY, "no list");
    EXPECT_EQ(handle(), 0);
    EXPECT_EQ(log(),
              "[Error]: Create certificate: update Certificate Locations failed.\n" + LAST_LINE);
    EXPECT_EQ(answer(), DATABASE_ERROR);
    EXPECT_EQ(client.list(MEMBERS_KEY), std::vector<std::string>{"&&ObjectRef " + latestUri()});
}

} // namespace
