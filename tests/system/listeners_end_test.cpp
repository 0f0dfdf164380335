// How the listeners end: with their subscription, or at their start; and that nothing brings them
// back.

#include "tests/support/command_monitor.h"
#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"
#include "tests/system/start_faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>

// GoogleTest's name for a channel's tests.
static void PrintTo(RequestKind kind, std::ostream* out) {
    *out << (kind == RequestKind::CREATE   ? "creation"
             : kind == RequestKind::REMOVE ? "deletion"
                                           : "action");
}

namespace {

using Texts = std::vector<std::string>;

std::size_t threadCount(const DaemonProcess& daemon) {
    return listDirectory("/proc/" + std::to_string(daemon.pid()) + "/task").size();
}

// The channels with a listener, as "1 1 1" for creation, deletion and action.
std::string listening(RedisClient& client) {
    const auto counts =
        client
            .command("PUBSUB", "NUMSUB", channelName(RequestKind::CREATE),
                     channelName(RequestKind::REMOVE), channelName(RequestKind::ACTION))
            .texts();
    return counts.at(1) + " " + counts.at(3) + " " + counts.at(5);
}

FrontEndRequest unknownAction() {
    FrontEndRequest request;
    request.kind = RequestKind::ACTION;
    request.targetUri = "/no/such/action";
    return request;
}

class ListenersEnd : public testing::Test {
protected:
    void SetUp() override {
        writeConnectionFiles(mServer);
    }

    void startDaemon(const DaemonOptions& options = loggingToFile()) {
        mDaemon = std::make_unique<DaemonProcess>(options);
        mDaemon->waitUntilReady(mServer);
        ASSERT_TRUE(waitUntil([&] { return logLines(*mDaemon).size() == 8; }));
    }

    RedisServer mServer;
    std::unique_ptr<DaemonProcess> mDaemon;
};

TEST_F(ListenersEnd, withTheServerAndDoNotComeBackWhileTheWorkerKeepsTheProcess) {
    startDaemon();
    const auto lines = logLines(*mDaemon);
    const std::size_t threads = threadCount(*mDaemon);
    mServer.stop();
    EXPECT_TRUE(waitUntil([&] { return threadCount(*mDaemon) == threads - 3; }));
    mServer.start();
    RedisClient client(mServer);
    EXPECT_FALSE(mDaemon->waitForExit(1.0).has_value());
    EXPECT_EQ(listening(client), "0 0 0");
    EXPECT_EQ(splitLines(client.command("CLIENT", "LIST").text).size(), 1U);
    EXPECT_EQ(threadCount(*mDaemon), threads - 3);
    EXPECT_EQ(logLines(*mDaemon), lines) << "an ended subscription is not logged";
}

// Each listener by itself: the others go on. The daemon is on TCP, where its clients have
// addresses.
class OneListener : public testing::TestWithParam<RequestKind> {
protected:
    void SetUp() override {
        writeConnectionFiles(mServer, RedisAddress::TCP);
        CommandMonitor monitor(mServer);
        mDaemon = std::make_unique<DaemonProcess>(loggingToFile());
        mDaemon->waitUntilReady(mServer);
        for (const auto& command : monitor.stop()) {
            if (command.words == Command{"SUBSCRIBE", channelName(GetParam())}) {
                mSubscriber = command.client;
            }
        }
        ASSERT_TRUE(waitUntil([&] { return logLines(*mDaemon).size() == 8; }));
    }

    static RedisServerOptions withTcp() {
        RedisServerOptions options;
        options.tcpPort = 6379;
        return options;
    }

    RedisServer mServer{withTcp()};
    RedisClient mClient{mServer};
    std::unique_ptr<DaemonProcess> mDaemon;
    std::string mSubscriber; // its address
};

TEST_P(OneListener, endsWithItsOwnSubscriptionAndTheOthersGoOn) {
    const std::size_t threads = threadCount(*mDaemon);
    ASSERT_EQ(listening(mClient), "1 1 1");
    ASSERT_EQ(mClient.command("CLIENT", "KILL", "ADDR", mSubscriber).integer, 1);
    EXPECT_TRUE(waitUntil([&] { return threadCount(*mDaemon) == threads - 1; }));
    EXPECT_EQ(listening(mClient), GetParam() == RequestKind::CREATE   ? "0 1 1"
                                  : GetParam() == RequestKind::REMOVE ? "1 0 1"
                                                                      : "1 1 0");
    EXPECT_EQ(logLines(*mDaemon).size(), 8U) << "nothing is logged";
    FrontEndRequest request = unknownAction();
    if (GetParam() == RequestKind::ACTION) {
        request.kind = RequestKind::REMOVE;
    }
    EXPECT_EQ(sendRequest(mServer, request).reply, request.statusKey);
}

INSTANTIATE_TEST_SUITE_P(Channel, OneListener,
                         testing::Values(RequestKind::CREATE, RequestKind::REMOVE,
                                         RequestKind::ACTION),
                         [](const auto& row) { return testing::PrintToString(row.param); });

TEST_F(ListenersEnd, andTheProcessTooWhenTheWorkerHasEndedBefore) {
    startDaemon();
    setBackendAnswers(R"({"generateCSR": {"throw": "out of order"}})");
    RedisClient client(mServer);
    const std::string collection = "/redfish/v1/CertificateService/CertificateCollection";
    storeCertificateCollection(client, collection);
    FrontEndRequest request;
    request.kind = RequestKind::ACTION;
    request.targetUri = "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR";
    request.fields = {{"&&Task", "/redfish/v1/TaskService/Tasks/1"}};
    request.body = R"({"CertificateCollection": {"@odata.id": ")" + collection +
                   R"("}, "CommonName": "a", "City": "b", "Country": "DE", "State": "c",
                      "Organization": "d", "OrganizationalUnit": "e",
                      "KeyPairAlgorithm": "TPM_ALG_RSA", "KeyBitLength": 2048})";
    const std::size_t threads = threadCount(*mDaemon);
    EXPECT_TRUE(sendRequest(mServer, request).reply.has_value());
    ASSERT_TRUE(waitUntil([&] { return threadCount(*mDaemon) == threads - 1; })) << mDaemon->log();
    EXPECT_EQ(listening(client), "1 1 1") << "the listeners go on without the worker";
    for (const RequestKind kind : {RequestKind::CREATE, RequestKind::REMOVE, RequestKind::ACTION}) {
        FrontEndRequest next = unknownAction();
        next.kind = kind;
        next.body = R"({"CertificateType": "none"})";
        EXPECT_EQ(sendRequest(mServer, next).reply, next.statusKey);
    }
    mServer.stop();
    EXPECT_EQ(mDaemon->waitForExit(), 0);
    EXPECT_EQ(logLines(*mDaemon).back(), "[Debug]: >>> exiting certificate_service.");
}

TEST_F(ListenersEnd, ofActionsKeepsALostWorkConnection) {
    startDaemon();
    RedisClient client(mServer);
    client.command("CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes");
    EXPECT_EQ(listening(client), "1 1 1");
    for (int i = 1; i <= 2; ++i) {
        storeRequest(client, unknownAction());
        client.command("PUBLISH", channelName(RequestKind::ACTION),
                       requestMessage(unknownAction()));
        EXPECT_TRUE(waitUntil([&] {
            return countLogLines(*mDaemon, "[Error]: Certificate action: get request data "
                                           "structure failed.") == static_cast<std::size_t>(i);
        })) << mDaemon->log();
    }
    EXPECT_TRUE(client.hash(unknownAction().statusKey).empty());
}

// ---- connections that cannot be made at the start ----

class FailedStart : public testing::Test {
protected:
    void SetUp() override {
        writeConnectionFiles(mServer);
    }

    void startHeld(const std::string& call) {
        StartFaults faults;
        faults.held = call;
        mDaemon = std::make_unique<DaemonProcess>(withFaults(faults, loggingToFile()));
        ASSERT_TRUE(waitForHeldStart());
    }

    // The log's lines behind those of the start-up.
    Texts threadLines() {
        auto lines = logLines(*mDaemon);
        lines.erase(lines.begin(), lines.begin() + 4);
        return lines;
    }

    static RedisServerOptions withPassword() {
        RedisServerOptions options;
        options.password = "secret"; // a refused client is then noticed when it logs in
        return options;
    }

    RedisServer mServer{withPassword()};
    RedisClient mClient{mServer};
    std::unique_ptr<DaemonProcess> mDaemon;
};

// The threads before the action listener are up: their first lines, and their connections.
bool othersAreUp(RedisClient& client, std::size_t ownClients) {
    return waitUntil([&] {
        return listening(client) == "1 1 0" &&
               splitLines(client.command("CLIENT", "LIST").text).size() == ownClients + 3;
    });
}

TEST_F(FailedStart, ofTheActionListenersWorkConnectionEndsIt) {
    startHeld("pthread_create:4");
    ASSERT_TRUE(othersAreUp(mClient, 1));
    mClient.command("CONFIG", "SET", "maxclients", "4");
    releaseHeldStart();
    EXPECT_TRUE(waitUntil([&] { return threadLines().size() == 5; }));
    const auto lines = threadLines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[3], "[Debug]: begin certificate action thread.");
    EXPECT_EQ(lines[4], "[Error]: Failed to connect to Redis.");
    EXPECT_EQ(listening(mClient), "1 1 0");
    EXPECT_TRUE(mDaemon->running());
}

TEST_F(FailedStart, ofTheActionListenersSubscriptionClosesItsWorkConnection) {
    startHeld("pthread_create:4");
    ASSERT_TRUE(othersAreUp(mClient, 1));
    mClient.command("CONFIG", "SET", "maxclients", "5"); // room for the work connection only
    mClient.command("CONFIG", "RESETSTAT");
    releaseHeldStart();
    EXPECT_TRUE(waitUntil([&] { return threadLines().size() == 5; }));
    const auto lines = threadLines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[3], "[Debug]: begin certificate action thread.");
    EXPECT_EQ(lines[4], "[Error]: Failed to connect to Redis.");
    EXPECT_THAT(mClient.command("INFO", "stats").text,
                testing::HasSubstr("rejected_connections:1\r\n"));
    EXPECT_TRUE(
        waitUntil([&] { return splitLines(mClient.command("CLIENT", "LIST").text).size() == 4; }));
    EXPECT_EQ(listening(mClient), "1 1 0");
}

TEST_F(FailedStart, ofTheCollectionListenersLogsALineAndAnEmptyOneEach) {
    startHeld("pthread_create:1");
    mClient.command("CONFIG", "SET", "maxclients", "1");
    releaseHeldStart();
    EXPECT_EQ(mDaemon->waitForExit(), 0) << "no thread can connect, so all end";
    EXPECT_EQ(countLogLines(*mDaemon, "[Error]: Failed to connect to Redis"), 2U);
    EXPECT_EQ(countLogLines(*mDaemon, ""), 2U);
    EXPECT_EQ(countLogLines(*mDaemon, "[Error]: Failed to connect to Redis."), 2U)
        << "of the worker and the action listener";
}

TEST_F(FailedStart, ofTheLaterThreadsLeavesTheCreationListener) {
    startHeld("pthread_create:2");
    // The creation listener is up already; the others find the server's doors closed.
    ASSERT_TRUE(waitUntil([&] { return listening(mClient) == "1 0 0"; }));
    mClient.command("CONFIG", "SET", "maxclients", "1");
    releaseHeldStart();
    EXPECT_TRUE(waitUntil([&] { return threadLines().size() == 8; })) << mDaemon->log();
    EXPECT_EQ(listening(mClient), "1 0 0");
    EXPECT_TRUE(mDaemon->running());
    EXPECT_EQ(countLogLines(*mDaemon, "[Error]: Failed to connect to Redis"), 1U);
    EXPECT_EQ(countLogLines(*mDaemon, "[Error]: Failed to connect to Redis."), 2U);
}

} // namespace
