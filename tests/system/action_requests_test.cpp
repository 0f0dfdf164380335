// Actions on their whole road.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

namespace {

class ActionRequests : public RequestRoad {
protected:
    ActionRequests() {
        storeResource(client, CERTIFICATE, R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
    }

    const std::string CERTIFICATE = COLLECTION + "/1a";
};

TEST_F(ActionRequests, SigningRequestIsAnsweredAtOnceWithoutRsa) {
    setBackendAnswers(R"({"generateCSR":{"csr":"text"}})");
    start();
    const FrontEndAnswer answer = send(signing(R"("KeyCurveId":"TPM_ECC_NIST_P384")"));
    EXPECT_EQ(describeAnswer(answer), "OK_RES");
    EXPECT_EQ(answer.status.at("&&ResponseData"), "status/1/result/ResponseData");
    EXPECT_EQ(
        client.hash("status/1/result/ResponseData"),
        (std::map<std::string, std::string>{{"&&ObjectRef CertificateCollection " + COLLECTION, ""},
                                            {"CSRString", "\"text\""}}));
}

TEST_F(ActionRequests, ReplacementTellsWhereTheCertificateIs) {
    setBackendAnswers(R"({"replace":{"privateKeyValue":"keys/2"}})");
    start({{"ROOT_CA_FILE", "/etc/roots.pem"}});
    const FrontEndAnswer answer = send(replacement(CERTIFICATE));
    EXPECT_EQ(describeAnswer(answer), "OK_RES");
    EXPECT_EQ(answer.status.at("&&Location"), CERTIFICATE);
    EXPECT_EQ(client.hash(CERTIFICATE).at("&&CertPrivateKey"), "keys/2");
    EXPECT_NE(backendCalls().at(0).find(R"("rootCaFile":"/etc/roots.pem")"), std::string::npos);
}

TEST_F(ActionRequests, UnchangedReplacementHasNoEvent) {
    setBackendAnswers(R"({"replace":{"message":{"MessageId":"Base.1.9.NoOperation"}}})");
    start();
    const FrontEndAnswer answer = send(replacement(CERTIFICATE));
    EXPECT_EQ(describeAnswer(answer), "OK_RES");
    EXPECT_EQ(answer.status.at("&&Location"), CERTIFICATE);
    EXPECT_EQ(client.hash("status/1/result/ResponseData").count("&&RawJSON"), 1U);
    EXPECT_EQ(client.command("EXISTS", "/redfish/v1/EventService").integer, 0);
}

TEST_F(ActionRequests, UnknownActionIsAnswered) {
    start();
    FrontEndRequest request = signing("");
    request.targetUri = GENERATE_CSR + "/";
    EXPECT_EQ(describeAnswer(send(request)),
              "FAILURE Base.1.9.ActionNotSupported (" + GENERATE_CSR + "/)");
}

TEST_F(ActionRequests, RequestsAreHandledInTheirOrder) {
    setBackendAnswers(R"({"generateCSR":[{"waitForFile":"/run/go"},{}]})");
    start();
    RedisClient subscriber(server);
    (void)subscriber.commandList({"PSUBSCRIBE", "answers/*"});
    for (int number = 1; number <= 3; ++number) {
        const FrontEndRequest request =
            signing("\"City\":\"town " + std::to_string(number) + "\"", number);
        storeRequest(client, request);
        announce(request, requestMessage(request));
    }
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    writeFile("/run/go", "");
    for (const std::string expected : {"status/1/result", "status/2/result", "status/3/result"}) {
        RedisAnswer message;
        ASSERT_TRUE(subscriber.nextMessage(message, WAIT_LIMIT_SECONDS));
        EXPECT_EQ(message.texts().back(), expected);
    }
    for (std::size_t call = 0; call < 3; ++call) {
        EXPECT_NE(backendCalls().at(call).find("town " + std::to_string(call + 1)),
                  std::string::npos);
    }
}

TEST_F(ActionRequests, EmptyStatusKeyIsOnlyLogged) {
    start();
    const FrontEndRequest request = signing("");
    storeRequest(client, request);
    announce(request, "requests/1 ");
    EXPECT_TRUE(waitUntil([this] {
        return log().ends_with("[Error]: Certificate action: request data structure error.\n");
    }));
    EXPECT_TRUE(backendCalls().empty());
}

} // namespace
