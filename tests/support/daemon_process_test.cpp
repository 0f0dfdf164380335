// Starting, steering and ending the real daemon.

#include "tests/support/daemon_process.h"
#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"

#include <gtest/gtest.h>

TEST(DaemonProcess, AnswersThroughTheSteerableBackend) {
    const RedisServer server;
    writeConnectionFiles(server);
    DaemonOptions options;
    options.libraryPath = fakeBackendDirectory();
    options.configuration = {{"LOG_FILE", "/tmp/daemon.log"}, {"LOG_LEVEL", "error"}};
    DaemonProcess daemon(options);
    daemon.waitUntilReady(server);
    RedisClient client(server);
    const std::string collection = "/redfish/v1/Managers/1/Certificates";
    storeCertificateCollection(client, collection);
    setBackendAnswers(
        R"({"create":{"code":400,"message":{"MessageId":"Base.1.9.X","MessageArgs":["a","b"],
            "RelatedProperties":["CertificateString"]}}})");
    FrontEndRequest request;
    request.targetUri = collection;
    request.body = R"({"CertificateString":"text","CertificateType":"PEM"})";
    const FrontEndAnswer answer = sendRequest(server, request);
    EXPECT_EQ(answer.reply, request.statusKey);
    EXPECT_EQ(answer.status.at("&&ReturnStatus"), "FAILURE");
    EXPECT_EQ(answer.messageId, "Base.1.9.X");
    EXPECT_EQ(answer.messageArgs, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(answer.relatedProperties, std::vector<std::string>{"CertificateString"});
    ASSERT_EQ(backendCalls().size(), 1U);
    EXPECT_NE(backendCalls().front().find(R"("certificateString":"text")"), std::string::npos);
    EXPECT_EQ(withoutTimes(daemon.log()),
              "[Error]: Create certificate: create certificate error.\n");
    EXPECT_TRUE(daemon.running());
    daemon.kill();
    EXPECT_EQ(daemon.waitForExit(), 128 + 9);
}

TEST(DaemonProcess, ShowsWhyItEnds) {
    writeFile("/run/redis.port", "0");
    writeFile("/run/redis.unixsocket", "/no/such/socket");
    DaemonProcess daemon;
    EXPECT_EQ(daemon.waitForExit(), 255);
    EXPECT_FALSE(daemon.running());
    EXPECT_NE(daemon.standardError().find("[Error]: Failed to connect to Redis.\n"),
              std::string::npos);
    const RedisServer server;
    EXPECT_THROW(daemon.waitUntilReady(server), std::runtime_error);
}
