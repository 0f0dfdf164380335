// The action ReplaceCertificate: what the backend is given, its answers, its refusals.

#include "actions/replace_certificate.h"
#include "core/settings.h"
#include "tests/actions/action_fixture.h"
#include "tests/support/fake_backend.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

const std::string ASK_CERTIFICATE = filled(R"(HGET {COLLECTION}/1a @odata.type
HEXISTS {COLLECTION}/1a &&BlockReplaceCertificate
)");
const std::string READ_BEFORE_REPLACING = READ_RECORD + READ_BODY + ASK_CERTIFICATE + READ_TYPES;

std::string replaceBody(const std::string& uri = CERTIFICATE, const std::string& type = "PEM") {
    return json({{"CertificateUri", {{"@odata.id", uri}}},
                 {"CertificateString", "client's text\n"},
                 {"CertificateType", type}})
        .dump();
}

class ReplaceCertificate : public ActionFixture {
protected:
    ReplaceCertificate() {
        storeResource(client, CERTIFICATE,
                      R"({"@odata.type":"#Certificate.v1_2_2.Certificate","Id":"1a",
                          "&&CertPrivateKey":"keys/1"})");
        client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
    }

    bool run(const std::string& body = replaceBody()) {
        return runReplaceCertificate(body);
    }

    std::string commandsOfReplacement(const std::string& body = replaceBody()) {
        return commandsOfAction(REPLACE_CERTIFICATE, body);
    }

    // The commands of a certificate that was replaced, from the key's recording on.
    static std::string finishCommands(const std::string& keyCommand, const std::string& digest) {
        return TAKE_GROUP + keyCommand +
               filled(R"(HGET redisSHAScripts resourceChange
EVALSHA {DIGEST} 5 change {URI} Certificate EventGroupId 1
HSET status/1/result &&ReturnStatus OK_RES
HSET status/1/result &&Location {URI}
)",
                      {{"URI", CERTIFICATE}, {"DIGEST", digest}});
    }
};

TEST_F(ReplaceCertificate, SendsTheseCommandsForAChangedCertificate) {
    const std::string digest = loadEventScript();
    setBackendAnswers(R"({"replace":{"privateKeyValue":"keys/2","message":{"MessageId":"x"}}})");
    EXPECT_EQ(commandsOfReplacement(),
              READ_BEFORE_REPLACING +
                  finishCommands("HSET " + CERTIFICATE + " &&CertPrivateKey keys/2\n", digest) +
                  PUBLISH_REPLY);
    EXPECT_EQ(client.hash(STATUS_KEY),
              (std::map<std::string, std::string>{{"&&Location", CERTIFICATE},
                                                  {"&&ReturnStatus", "OK_RES"}}));
    EXPECT_EQ(log(), EVENTS_ON_LINE);
}

TEST_F(ReplaceCertificate, RemovesTheKeyOfACertificateThatHasNoneNow) {
    const std::string digest = loadEventScript();
    EXPECT_EQ(commandsOfReplacement(),
              READ_BEFORE_REPLACING +
                  finishCommands("HDEL " + CERTIFICATE + " &&CertPrivateKey\n", digest) +
                  PUBLISH_REPLY);
    EXPECT_EQ(client.hash(CERTIFICATE).count("&&CertPrivateKey"), 0U);
}

TEST_F(ReplaceCertificate, SendsTheseCommandsForAnUnchangedCertificateAndLeavesItAsItIs) {
    const auto before = client.hash(CERTIFICATE);
    setBackendAnswers(R"({"replace":{"privateKeyValue":"keys/2",
        "message":{"MessageId":"Base.1.9.NoOperation"}}})");
    const std::string commands = commandsOfReplacement();
    const std::string body = client.hash("status/1/result/ResponseData").at("&&RawJSON");
    EXPECT_EQ(commands, READ_BEFORE_REPLACING +
                            filled(R"(HSET status/1/result &&Location {URI}
HSET status/1/result &&ReturnStatus OK_RES
HSET status/1/result &&ResponseData status/1/result/ResponseData
HSET status/1/result/ResponseData &&RawJSON {BODY}
)",
                                   {{"URI", CERTIFICATE}, {"BODY", describeText(body)}}) +
                            PUBLISH_REPLY);
    EXPECT_NE(body.find("\"MessageId\": \"Base.1.9.NoOperation\""), std::string::npos);
    EXPECT_EQ(client.hash(CERTIFICATE), before);
    EXPECT_EQ(log(), "[Debug]: The certificate string is not changed, doesn't need to update the "
                     "certificate resource.\n");
}

TEST_F(ReplaceCertificate, TakesOnlyTheWholeMessageForUnchanged) {
    loadEventScript();
    for (const std::string message :
         {"", "NoOperation", "Base.1.9.NoOperation2", "base.1.9.NoOperation"}) {
        client.command("HSET", CERTIFICATE, "&&CertPrivateKey", "keys/1");
        setBackendAnswers(R"({"replace":{"message":{"MessageId":")" + message + R"("}}})");
        EXPECT_TRUE(run());
        EXPECT_EQ(client.hash(CERTIFICATE).count("&&CertPrivateKey"), 0U) << message;
        EXPECT_EQ(answer(), "OK_RES");
    }
}

TEST_F(ReplaceCertificate, HandsTheRequestToTheBackend) {
    loadEventScript();
    gRootCaFile = "/etc/roots.pem";
    EXPECT_TRUE(run());
    gRootCaFile.clear();
    const json expected = {{"handler", "replace"},
                           {"certificateUri", CERTIFICATE},
                           // The escape of the line end is read back as its letter.
                           {"certificateString", "client's textn"},
                           {"certificateType", "PEM"},
                           {"rootCaFile", "/etc/roots.pem"}};
    ASSERT_EQ(backendCalls().size(), 1U);
    EXPECT_EQ(json::parse(backendCalls().front()), expected);
}

TEST_F(ReplaceCertificate, AnswersAFailedEventAsAnException) {
    client.command("HSET", STATUS_KEY, "&&Other", "gone");
    EXPECT_TRUE(run());
    EXPECT_EQ(answer(), DATABASE_ERROR);
    EXPECT_EQ(client.hash(STATUS_KEY).count("&&Other"), 0U);
    EXPECT_GT(client.command("TTL", "status/1/ExtendedInfo").integer, 0);
    EXPECT_EQ(log(), EVENTS_ON_LINE + "[Error]: Cannot get SHA script resourceChange.\n"
                                      "[Error]: Failed to generate event.\n");
}

TEST_F(ReplaceCertificate, AddsItsStatusFieldsToWhatIsThereWithEventsOffToo) {
    configure({{"GenerateResourceEvent", "false"}});
    client.command("HSET", STATUS_KEY, "&&Other", "kept");
    EXPECT_TRUE(run());
    EXPECT_EQ(client.hash(STATUS_KEY),
              (std::map<std::string, std::string>{
                  {"&&Location", CERTIFICATE}, {"&&Other", "kept"}, {"&&ReturnStatus", "OK_RES"}}));
}

TEST_F(ReplaceCertificate, IgnoresAKeyThatCannotBeRecorded) {
    loadEventScript();
    client.command("SET", "/c/1", "no hash");
    CreateCertResult result;
    result.privateKeyValue = "keys/2";
    finishCertificateReplace(context(), "/c/1", result, STATUS_KEY);
    EXPECT_EQ(answer(), "OK_RES");
}

TEST_F(ReplaceCertificate, AnswersACertificateThatIsNotThere) {
    client.command("DEL", CERTIFICATE);
    EXPECT_EQ(commandsOfReplacement(),
              READ_RECORD + READ_BODY + "HGET " + CERTIFICATE + " @odata.type\n" +
                  failureCommands("FAILURE", "Base.1.9.ResourceMissingAtURI", {CERTIFICATE}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(),
              "[Error]: ReplaceCertificate: " + CERTIFICATE + " is not a certificate resource.\n");
    EXPECT_FALSE(run());
}

TEST_F(ReplaceCertificate, AnswersAResourceWithoutTypeBeforeItsBlock) {
    client.command("HDEL", CERTIFICATE, "@odata.type");
    client.command("HSET", CERTIFICATE, "&&BlockReplaceCertificate", "true");
    EXPECT_FALSE(run());
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (" + CERTIFICATE + ")");
}

TEST_F(ReplaceCertificate, LogsAUriWithPercentSignsAsItIsUpToItsFirstNul) {
    EXPECT_FALSE(run(replaceBody("/c/100%s%n")));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (/c/100%s%n)");
    EXPECT_EQ(log(), "[Error]: ReplaceCertificate: /c/100%s%n is not a certificate resource.\n");
    configure();
    storeResource(client, BODY_KEY, replaceBody());
    client.command("HSET", "&&" + BODY_KEY + "/CertificateUri", "@odata.id",
                   std::string("\"/c\0/1\"", 7));
    client.command("HDEL", BODY_KEY, "&&ObjectRef CertificateUri " + CERTIFICATE);
    client.command("HSET", BODY_KEY, "&&Object CertificateUri &&" + BODY_KEY + "/CertificateUri",
                   "");
    EXPECT_FALSE(replaceCertificate(context(), BODY_KEY, STATUS_KEY));
    EXPECT_EQ(log(), "[Error]: ReplaceCertificate: /c is not a certificate resource.\n");
}

class RefusedCertificate : public ReplaceCertificate {
protected:
    void expectRefusal(const std::string& field, const std::string& value) {
        configure();
        client.command("HSET", CERTIFICATE, field, value);
        EXPECT_EQ(commandsOfReplacement(),
                  READ_RECORD + READ_BODY + ASK_CERTIFICATE +
                      failureCommands(
                          "FAILURE", "ExtendedError.1.2.ActionNotSupportedOnReference",
                          {CERTIFICATE, "@odata.id", "CertificateService.ReplaceCertificate"}) +
                      PUBLISH_REPLY);
        EXPECT_EQ(log(), "[Error]: ReplaceCertificate: " + CERTIFICATE +
                             " is not a certificate resource or the certificate resource doesn't "
                             "support the replace action.\n");
        EXPECT_FALSE(run());
        EXPECT_TRUE(backendCalls().empty());
    }
};

TEST_F(RefusedCertificate, HasABlockFieldOfAnyValue) {
    for (const std::string value : {"true", "false", "", "0"}) {
        expectRefusal("&&BlockReplaceCertificate", value);
    }
}

TEST_F(RefusedCertificate, HasTheTypeOfAnotherResource) {
    for (const std::string type :
         {"\"#CertificateCollection.CertificateCollection\"", "#Certificate.v1_2_2.Certificate",
          "\"#Certificate.v1_2_2.Certificate\" ", "\"\""}) {
        expectRefusal("@odata.type", type);
    }
}

TEST_F(ReplaceCertificate, AnswersAnUnsupportedTypeWithoutAskingTheBackend) {
    EXPECT_EQ(commandsOfReplacement(replaceBody(CERTIFICATE, "pem")),
              READ_BEFORE_REPLACING +
                  failureCommands("FAILURE", "Base.1.9.PropertyValueNotInList",
                                  {"pem", "CertificateType"}) +
                  PUBLISH_REPLY);
    EXPECT_FALSE(run(replaceBody(CERTIFICATE, "pem")));
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(log(), "");
}

TEST_F(ReplaceCertificate, TakesAUriWithoutSlashForItsOwnCollection) {
    client.command("HSET", "certificate", "@odata.type", "\"#Certificate.v1_2_2.Certificate\"");
    EXPECT_FALSE(run(replaceBody("certificate")));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.PropertyValueNotInList (PEM, CertificateType)");
    loadEventScript();
    client.command("RPUSH", "&&certificate/@Redfish.SupportedCertificates", "\"PEM\"");
    EXPECT_TRUE(run(replaceBody("certificate")));
    EXPECT_EQ(backendCalls().size(), 1U);
}

TEST_F(ReplaceCertificate, AnswersARefusalOfTheBackendAndDoesNothingElse) {
    const std::vector<std::array<std::string, 3>> table = {
        {"400", "", "FAILURE ExtendedError.1.2.BadRequest ()"},
        {"500", "", DATABASE_ERROR},
        {"202", "", DATABASE_ERROR},
        {"400", "Own.1.0.Text", "FAILURE Own.1.0.Text ()"},
        {"400", "Base.1.9.NoOperation", "FAILURE Base.1.9.NoOperation ()"},
    };
    for (const auto& [code, message, expected] : table) {
        setBackendAnswers(R"({"replace":{"code":)" + code + R"(,"message":{"MessageId":")" +
                          message + R"("}}})");
        EXPECT_FALSE(run());
        EXPECT_EQ(answer(), expected);
    }
    setBackendAnswers(R"({"replace":{"code":400}})");
    EXPECT_EQ(commandsOfReplacement(),
              READ_BEFORE_REPLACING + failureCommands("FAILURE", "ExtendedError.1.2.BadRequest") +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(), "");
}

TEST_F(ReplaceCertificate, LetsTheTypeErrorOfAMemberOut) {
    const std::string uri = R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE + "\"}";
    const std::string isNull = "type must be string, but is null";
    const std::vector<std::array<std::string, 2>> table = {
        {R"({"CertificateString":"t","CertificateType":"PEM"})", isNull},
        {R"({"CertificateUri":{},"CertificateString":"t","CertificateType":"PEM"})", isNull},
        {R"({"CertificateUri":{"@odata.id":5,"x":1},"CertificateString":"t"})",
         "type must be string, but is number"},
        {uri + R"(,"CertificateType":"PEM"})", isNull},
        {uri + R"(,"CertificateString":"t"})", isNull},
        {R"({"CertificateUri":"/c/1","CertificateString":"t"})",
         "cannot use operator[] with a string argument with string"},
    };
    for (const auto& [body, expected] : table) {
        EXPECT_EQ(typeErrorOf([this, &text = body] { return run(text); }), expected) << body;
    }
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(client.command("EXISTS", STATUS_KEY).integer, 0);
}

TEST_F(ReplaceCertificate, AnswersAWrongCertificateBeforeAMissingType) {
    EXPECT_FALSE(run(R"({"CertificateUri":{"@odata.id":"/not/there"},"CertificateString":"t"})"));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (/not/there)");
    client.command("HSET", CERTIFICATE, "&&BlockReplaceCertificate", "");
    EXPECT_FALSE(run(R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE +
                     R"("},"CertificateString":"t"})"));
    EXPECT_TRUE(answer().starts_with("FAILURE ExtendedError.1.2.ActionNotSupportedOnReference"));
}

} // namespace
