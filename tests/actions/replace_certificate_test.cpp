// The action ReplaceCertificate: what the backend is given, its answers, its refusals.

#include "actions/certificate_action.h"
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
const std::string UNCHANGED_LINE = "[Debug]: The certificate string is not changed, doesn't need "
                                   "to update the certificate resource.\n";

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
        storeResource(client, BODY_KEY, body);
        return replaceCertificate(context(), BODY_KEY, STATUS_KEY);
    }

    std::string commandsOf(const std::string& body) {
        storeRequest(client, actionRequest(REPLACE_CERTIFICATE, body));
        CommandMonitor monitor(server);
        EXPECT_TRUE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
        return commandText(monitor.commands());
    }

    void expectThrow(const std::string& body, const std::string& text) {
        try {
            (void)run(body);
            ADD_FAILURE() << body;
        } catch (const json::type_error& failure) {
            EXPECT_NE(std::string(failure.what()).find(text), std::string::npos) << failure.what();
        }
    }
};

TEST_F(ReplaceCertificate, ChangedCertificateSendsTheseCommands) {
    const std::string digest = loadEventScript();
    setBackendAnswers(R"({"replace":{"privateKeyValue":"keys/2","message":{"MessageId":"x"}}})");
    EXPECT_EQ(commandsOf(replaceBody()), READ_RECORD + READ_BODY + ASK_CERTIFICATE + READ_TYPES +
                                             TAKE_GROUP +
                                             filled(R"(HSET {URI} &&CertPrivateKey keys/2
HGET redisSHAScripts resourceChange
EVALSHA {DIGEST} 5 change {URI} Certificate EventGroupId 1
HSET status/1/result &&ReturnStatus OK_RES
HSET status/1/result &&Location {URI}
)",
                                                    {{"URI", CERTIFICATE}, {"DIGEST", digest}}) +
                                             PUBLISH_REPLY);
    EXPECT_EQ(client.hash(STATUS_KEY),
              (std::map<std::string, std::string>{{"&&Location", CERTIFICATE},
                                                  {"&&ReturnStatus", "OK_RES"}}));
    EXPECT_EQ(log(), "[Debug]: CertificateService will generate events when resource is "
                     "created/updated/removed.\n");
}

TEST_F(ReplaceCertificate, UnchangedCertificateSendsTheseCommandsAndStaysAsItIs) {
    const auto before = client.hash(CERTIFICATE);
    setBackendAnswers(R"({"replace":{"privateKeyValue":"keys/2",
        "message":{"MessageId":"Base.1.9.NoOperation"}}})");
    storeRequest(client, actionRequest(REPLACE_CERTIFICATE, replaceBody()));
    CommandMonitor monitor(server);
    EXPECT_TRUE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
    const Commands commands = monitor.commands();
    const std::string text = describeCommands(commands);
    const std::string body = client.hash("status/1/result/ResponseData").at("&&RawJSON");
    EXPECT_EQ(text, READ_RECORD + READ_BODY + ASK_CERTIFICATE + READ_TYPES +
                        filled(R"(HSET status/1/result &&Location {URI}
HSET status/1/result &&ReturnStatus OK_RES
HSET status/1/result &&ResponseData status/1/result/ResponseData
HSET status/1/result/ResponseData &&RawJSON {BODY}
)",
                               {{"URI", CERTIFICATE}, {"BODY", describeText(body)}}) +
                        PUBLISH_REPLY);
    EXPECT_NE(body.find("\"MessageId\": \"Base.1.9.NoOperation\""), std::string::npos);
    EXPECT_EQ(client.hash(CERTIFICATE), before);
    EXPECT_EQ(log(), UNCHANGED_LINE);
}

TEST_F(ReplaceCertificate, OnlyTheWholeMessageMeansUnchanged) {
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

TEST_F(ReplaceCertificate, UnchangedNeedsCode200) {
    setBackendAnswers(R"({"replace":{"code":400,"message":{"MessageId":"Base.1.9.NoOperation"}}})");
    EXPECT_FALSE(run());
    EXPECT_EQ(answer(), "FAILURE Base.1.9.NoOperation ()");
}

TEST_F(ReplaceCertificate, BackendGetsTheRequest) {
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

TEST_F(ReplaceCertificate, FailedEventIsAnException) {
    EXPECT_TRUE(run());
    EXPECT_EQ(answer(), "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()");
    EXPECT_TRUE(log().ends_with("[Error]: Cannot get SHA script resourceChange.\n"
                                "[Error]: Failed to generate event.\n"));
}

TEST_F(ReplaceCertificate, UnreadableBodyIsAnswered) {
    EXPECT_EQ(commandsOf(""),
              READ_RECORD + "TYPE requests/1/body\n" + defaultFailureCommands() + PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: ReplaceCertificate: get request data failed.\n");
    EXPECT_FALSE(replaceCertificate(context(), BODY_KEY, STATUS_KEY));
}

TEST_F(ReplaceCertificate, CertificateThatIsNotThereIsAnswered) {
    client.command("DEL", CERTIFICATE);
    EXPECT_EQ(commandsOf(replaceBody()),
              READ_RECORD + READ_BODY + "HGET " + CERTIFICATE + " @odata.type\n" +
                  failureCommands("FAILURE", "Base.1.9.ResourceMissingAtURI", {CERTIFICATE}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(),
              "[Error]: ReplaceCertificate: " + CERTIFICATE + " is not a certificate resource.\n");
    EXPECT_FALSE(run());
}

TEST_F(ReplaceCertificate, ResourceWithoutTypeIsAnswered) {
    client.command("HDEL", CERTIFICATE, "@odata.type");
    client.command("HSET", CERTIFICATE, "&&BlockReplaceCertificate", "true");
    EXPECT_FALSE(run());
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (" + CERTIFICATE + ")");
}

TEST_F(ReplaceCertificate, UriWithPercentSignsIsLoggedLiterally) {
    EXPECT_FALSE(run(replaceBody("/c/100%s%n")));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (/c/100%s%n)");
    EXPECT_EQ(log(), "[Error]: ReplaceCertificate: /c/100%s%n is not a certificate resource.\n");
}

class RefusedCertificate : public ReplaceCertificate {
protected:
    void expectRefusal() {
        configure();
        client.command("DEL", STATUS_KEY, "status/1/ExtendedInfo", "status/1/ExtendedInfo/1",
                       "status/1/ExtendedInfo/1/MessageArgs");
        EXPECT_EQ(commandsOf(replaceBody()),
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

TEST_F(RefusedCertificate, BlockFieldOfAnyValue) {
    for (const std::string value : {"true", "false", "", "0"}) {
        client.command("HSET", CERTIFICATE, "&&BlockReplaceCertificate", value);
        expectRefusal();
    }
}

TEST_F(RefusedCertificate, OtherTypes) {
    for (const std::string type :
         {"\"#CertificateCollection.CertificateCollection\"", "#Certificate.v1_2_2.Certificate",
          "\"#Certificate.v1_2_2.Certificate\" ", "\"\""}) {
        client.command("HSET", CERTIFICATE, "@odata.type", type);
        expectRefusal();
    }
}

TEST_F(ReplaceCertificate, UnsupportedTypeIsAnsweredWithoutTheBackend) {
    EXPECT_EQ(commandsOf(replaceBody(CERTIFICATE, "pem")),
              READ_RECORD + READ_BODY + ASK_CERTIFICATE + READ_TYPES +
                  failureCommands("FAILURE", "Base.1.9.PropertyValueNotInList",
                                  {"pem", "CertificateType"}) +
                  PUBLISH_REPLY);
    EXPECT_FALSE(run(replaceBody(CERTIFICATE, "pem")));
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(log(), "");
}

TEST_F(ReplaceCertificate, UriWithoutSlashIsItsOwnCollection) {
    client.command("HSET", "certificate", "@odata.type", "\"#Certificate.v1_2_2.Certificate\"");
    CommandMonitor monitor(server);
    EXPECT_FALSE(run(replaceBody("certificate")));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.PropertyValueNotInList (PEM, CertificateType)");
    loadEventScript();
    client.command("RPUSH", "&&certificate/@Redfish.SupportedCertificates", "\"PEM\"");
    EXPECT_TRUE(run(replaceBody("certificate")));
    EXPECT_EQ(backendCalls().size(), 1U);
}

TEST_F(ReplaceCertificate, BackendsRefusalIsAnswered) {
    struct Row {
        std::string order;
        std::string expected;
    };
    const std::vector<Row> table = {
        {R"({"code":400})", "FAILURE ExtendedError.1.2.BadRequest ()"},
        {R"({"code":500})", "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {R"({"code":202})", "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {R"({"code":400,"message":{"MessageId":"Own.1.0.Text","MessageArgs":["a"],
            "RelatedProperties":["/CertificateString"]}})",
         "FAILURE Own.1.0.Text (a) [/CertificateString]"},
    };
    const auto before = client.hash(CERTIFICATE);
    for (const Row& row : table) {
        setBackendAnswers(R"({"replace":)" + row.order + "}");
        EXPECT_FALSE(run());
        EXPECT_EQ(answer(), row.expected);
    }
    EXPECT_EQ(client.hash(CERTIFICATE), before);
    EXPECT_EQ(log(), "");
}

TEST_F(ReplaceCertificate, RefusedReplacementSendsTheseCommands) {
    setBackendAnswers(R"({"replace":{"code":400}})");
    EXPECT_EQ(commandsOf(replaceBody()),
              READ_RECORD + READ_BODY + ASK_CERTIFICATE + READ_TYPES +
                  failureCommands("FAILURE", "ExtendedError.1.2.BadRequest") + PUBLISH_REPLY);
}

TEST_F(ReplaceCertificate, MissingMembersThrow) {
    const std::string isNull = "type must be string, but is null";
    expectThrow(R"({"CertificateString":"t","CertificateType":"PEM"})", isNull);
    expectThrow(R"({"CertificateUri":{},"CertificateString":"t","CertificateType":"PEM"})", isNull);
    expectThrow(R"({"CertificateUri":{"@odata.id":5,"x":1},"CertificateString":"t"})",
                "type must be string, but is number");
    expectThrow(R"({"CertificateUri":{"@odata.id":"/c/1"},"CertificateType":"PEM"})", isNull);
    expectThrow(R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE +
                    R"("},"CertificateString":"t"})",
                isNull);
    expectThrow(R"({"CertificateUri":"/c/1","CertificateString":"t"})",
                "cannot use operator[] with a string argument with string");
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(client.command("EXISTS", STATUS_KEY).integer, 0);
}

TEST_F(ReplaceCertificate, WrongCertificateIsToldBeforeAMissingType) {
    EXPECT_FALSE(run(R"({"CertificateUri":{"@odata.id":"/not/there"},"CertificateString":"t"})"));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (/not/there)");
    client.command("HSET", CERTIFICATE, "&&BlockReplaceCertificate", "");
    EXPECT_FALSE(run(R"({"CertificateUri":{"@odata.id":")" + CERTIFICATE +
                     R"("},"CertificateString":"t"})"));
    EXPECT_EQ(answer(), "FAILURE ExtendedError.1.2.ActionNotSupportedOnReference (" + CERTIFICATE +
                            ", @odata.id, CertificateService.ReplaceCertificate)");
}

} // namespace
