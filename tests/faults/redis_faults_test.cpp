// Faults of the Redis server as a whole: frozen for seconds, out of memory, gone and back.

#include "tests/support/daemon_process.h"
#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

const std::string COLLECTION = "/redfish/v1/Managers/1/Certificates";

FrontEndRequest creation(const std::string& number) {
    FrontEndRequest request;
    request.targetUri = COLLECTION;
    request.body = R"({"CertificateType":"PEM","CertificateString":"text"})";
    request.requestKey = "requests/" + number;
    request.bodyKey = "body/" + number;
    request.statusKey = "status/" + number + "/result";
    request.returnChannel = "answers/" + number;
    return request;
}

} // namespace

class RedisFaults : public testing::Test {
protected:
    explicit RedisFaults(const RedisServerOptions& options = {})
        : mServer(options), mClient(mServer) {
        writeConnectionFiles(mServer);
        storeCertificateCollection(mClient, COLLECTION);
        mDaemon = std::make_unique<DaemonProcess>(
            DaemonOptions{{{"LOG_FILE", "/run/daemon.log"}, {"GenerateResourceEvent", "false"}},
                          fakeBackendDirectory(),
                          {}});
        mDaemon->waitUntilReady(mServer);
    }

    RedisServer mServer;
    RedisClient mClient;
    std::unique_ptr<DaemonProcess> mDaemon;
};

TEST_F(RedisFaults, AServerFrozenForSecondsOnlyDelaysTheAnswer) {
    setBackendAnswers(R"({"create":{"waitForFile":"/run/go"}})");
    RedisClient subscriber(mServer);
    subscriber.command("SUBSCRIBE", "answers/1");
    storeRequest(mClient, creation("1"));
    mClient.command("PUBLISH", channelName(RequestKind::CREATE), requestMessage(creation("1")));
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    mServer.pause();
    writeFile("/run/go", "");
    std::this_thread::sleep_for(std::chrono::seconds(3));
    mServer.resume();
    RedisAnswer message;
    ASSERT_TRUE(subscriber.nextMessage(message, ANSWER_LIMIT_SECONDS));
    EXPECT_EQ(mClient.hash("status/1/result")["&&ReturnStatus"], "OK");
    EXPECT_EQ(mClient.list("&&" + COLLECTION + "/Members").size(), 1U);
}

TEST_F(RedisFaults, AFullMemoryLosesNothingAndEndsWithIt) {
    storeRequest(mClient, creation("1"));
    storeRequest(mClient, creation("2"));
    RedisClient subscriber(mServer);
    subscriber.command("SUBSCRIBE", "answers/1");
    const std::string before = mClient.dumpAll();
    mClient.command("CONFIG", "SET", "maxmemory", "1");
    mClient.command("PUBLISH", channelName(RequestKind::CREATE), requestMessage(creation("1")));
    RedisAnswer message;
    ASSERT_TRUE(subscriber.nextMessage(message, ANSWER_LIMIT_SECONDS));
    EXPECT_EQ(mClient.dumpAll(), before);
    EXPECT_TRUE(
        withoutTimes(mDaemon->log())
            .ends_with("[Error]: Create certificate: update Certificate Collection failed.\n"
                       "[Error]: Create certificate: create certificate error.\n"))
        << mDaemon->log();
    mClient.command("CONFIG", "SET", "maxmemory", "0");
    EXPECT_EQ(sendRequest(mServer, creation("2")).status["&&ReturnStatus"], "OK");
}

class KeptRedisFaults : public RedisFaults {
protected:
    KeptRedisFaults() : RedisFaults(keptData()) {}

    static RedisServerOptions keptData() {
        RedisServerOptions options;
        options.keepData = true;
        return options;
    }
};

// The listeners do not come back by themselves; a new daemon finds everything that was stored.
TEST_F(KeptRedisFaults, ARestartedServerNeedsARestartedDaemon) {
    EXPECT_EQ(sendRequest(mServer, creation("1")).status["&&ReturnStatus"], "OK");
    mServer.restart();
    RedisClient client(mServer);
    storeRequest(client, creation("2"));
    EXPECT_EQ(
        client.command("PUBLISH", channelName(RequestKind::CREATE), requestMessage(creation("2")))
            .integer,
        0);
    EXPECT_TRUE(mDaemon->running());
    mDaemon->kill();
    mDaemon = std::make_unique<DaemonProcess>(
        DaemonOptions{{{"GenerateResourceEvent", "false"}}, fakeBackendDirectory(), {}});
    mDaemon->waitUntilReady(mServer);
    EXPECT_EQ(sendRequest(mServer, creation("2")).status["&&ReturnStatus"], "OK");
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members").size(), 2U);
}
