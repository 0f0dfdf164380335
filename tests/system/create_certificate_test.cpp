// Creations on their whole road.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

namespace {

using CreateCertificate = RequestRoad;

TEST_F(CreateCertificate, EveryCertificateIsLinkedNewestFirst) {
    start();
    std::vector<std::string> newestFirst;
    for (int number = 1; number <= 3; ++number) {
        const FrontEndAnswer answer = send(creation(number));
        ASSERT_EQ(describeAnswer(answer), "OK");
        EXPECT_EQ(answer.reply, "status/" + std::to_string(number) + "/result");
        const std::string uri = answer.status.at("&&Location");
        EXPECT_TRUE(uri.starts_with(COLLECTION + "/"));
        EXPECT_EQ(client.hash(uri).at("@odata.id"), "\"" + uri + "\"");
        newestFirst.insert(newestFirst.begin(), "&&ObjectRef " + uri);
    }
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"), newestFirst);
    EXPECT_EQ(client.list("&&" + LOCATIONS + "/Links/Certificates"), newestFirst);
    EXPECT_EQ(client.hash(COLLECTION).at("Members@odata.count"), "3");
    EXPECT_EQ(log().find("[Error]"), std::string::npos);
}

TEST_F(CreateCertificate, RootFileOfTheConfigurationReachesTheBackend) {
    start({{"ROOT_CA_FILE", "/etc/roots.pem"}});
    EXPECT_EQ(describeAnswer(send(creation())), "OK");
    ASSERT_EQ(backendCalls().size(), 1U);
    EXPECT_NE(backendCalls().front().find(R"("rootCaFile":"/etc/roots.pem")"), std::string::npos);
}

TEST_F(CreateCertificate, MembersUriCreatesInTheCollection) {
    start();
    FrontEndRequest request = creation();
    request.targetUri += "/Members";
    const FrontEndAnswer answer = send(request);
    ASSERT_EQ(describeAnswer(answer), "OK");
    const std::string uri = answer.status.at("&&Location");
    EXPECT_EQ(uri.rfind('/'), COLLECTION.size());
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"),
              std::vector<std::string>{"&&ObjectRef " + uri});
}

TEST_F(CreateCertificate, EventSwitchAndGroupIdentifiersLastForAllRequests) {
    client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "2");
    const std::string digest =
        client.command("SCRIPT", "LOAD", "return redis.call('RPUSH', 'groups', KEYS[5])").text;
    client.command("HSET", "redisSHAScripts", "resourceChange", digest);
    start();
    for (int number = 1; number <= 3; ++number) {
        EXPECT_EQ(describeAnswer(send(creation(number))), "OK");
    }
    EXPECT_EQ(client.list("groups"), (std::vector<std::string>{"1", "2", "1"}));
}

TEST_F(CreateCertificate, WithEventsOffNoScriptRuns) {
    client.command("DEL", "redisSHAScripts");
    start({{"GenerateResourceEvent", "false"}});
    CommandMonitor monitor(server);
    EXPECT_EQ(describeAnswer(send(creation())), "OK");
    EXPECT_EQ(describeCommands(monitor.commandsFrom(DAEMON_CLIENTS)).find("redisSHAScripts"),
              std::string::npos);
    EXPECT_TRUE(log().ends_with("[Debug]: CertificateService will not generate events when "
                                "resource is created/updated/removed.\n"));
}

TEST_F(CreateCertificate, FailedEventIsAnErrorLineAndStatusOk) {
    client.command("DEL", "redisSHAScripts");
    start();
    EXPECT_EQ(describeAnswer(send(creation())), "OK");
    EXPECT_TRUE(waitUntil([this] {
        return log().ends_with("[Error]: Cannot get SHA script resourceChange.\n"
                               "[Error]: Create certificate: create certificate error.\n");
    }));
}

TEST_F(CreateCertificate, RefusalsAreAnswered) {
    start();
    FrontEndRequest wrongType = creation(1);
    wrongType.body = R"({"CertificateString":"text","CertificateType":"pem"})";
    EXPECT_EQ(describeAnswer(send(wrongType)),
              "FAILURE Base.1.9.PropertyValueNotInList (pem, CertificateType)");
    FrontEndRequest noBody = creation(2);
    noBody.body.clear();
    EXPECT_EQ(describeAnswer(send(noBody)),
              "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()");
    setBackendAnswers(R"({"create":{"code":400}})");
    EXPECT_EQ(describeAnswer(send(creation(3))), "FAILURE ExtendedError.1.2.BadRequest ()");
    EXPECT_EQ(backendCalls().size(), 1U);
}

TEST_F(CreateCertificate, MessageWithoutOneKeyIsNotAnswered) {
    start();
    const FrontEndRequest request = creation();
    storeRequest(client, request);
    for (const std::string message : {"requests/1 ", " status/1/result"}) {
        announce(request, message);
    }
    // The next request shows that both have been dealt with.
    EXPECT_EQ(describeAnswer(send(creation(2))), "OK");
    const std::string line = "[Error]: Create certificate: request data structure error.\n";
    const std::string text = log();
    const std::size_t first = text.find(line);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(text.substr(first, 2 * line.size()), line + line);
}

TEST_F(CreateCertificate, EveryRequestClosesItsConnection) {
    start();
    const auto connections = [this] {
        return splitLines(client.command("CLIENT", "LIST").text).size();
    };
    const std::size_t before = connections();
    for (int number = 1; number <= 5; ++number) {
        EXPECT_EQ(describeAnswer(send(creation(number))), "OK");
    }
    EXPECT_TRUE(waitUntil([&] { return connections() == before; }));
}

TEST_F(CreateCertificate, RecordWithoutFieldEndsTheDaemonAndHarmsNothing) {
    FrontEndRequest request = creation();
    for (const std::string field : {"&&ReturnChannel", "&&RequestData", "&&TargetURI"}) {
        storeRequest(client, request);
        client.command("HDEL", request.requestKey, field);
        EXPECT_TRUE(abortsUnharmed(request)) << field;
    }
}

TEST_F(CreateCertificate, BodyWithoutTypeEndsTheDaemonAndHarmsNothing) {
    for (const std::string body : {R"({"CertificateString":"text"})", R"({"CertificateType":5})"}) {
        FrontEndRequest request = creation();
        request.body = body;
        storeRequest(client, request);
        EXPECT_TRUE(abortsUnharmed(request)) << body;
    }
}

} // namespace
