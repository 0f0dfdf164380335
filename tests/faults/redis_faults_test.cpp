// Faults of the Redis server as a whole: frozen for seconds, out of memory, gone and back.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

#include <chrono>
#include <thread>

namespace {

const std::string MEMBERS = "&&" + COLLECTION + "/Members";

class RedisFaults : public RequestRoad {
protected:
    RedisFaults() : RequestRoad({.keepData = true}), replies(server) {
        replies.command("SUBSCRIBE", "answers/1");
        startWithoutEvents();
    }

    void startWithoutEvents() {
        start({{"GenerateResourceEvent", "false"}});
    }

    bool awaitReply() {
        RedisAnswer message;
        return replies.nextMessage(message, ANSWER_LIMIT_SECONDS);
    }

    RedisClient replies;
};

TEST_F(RedisFaults, OfAServerFrozenForSecondsOnlyDelayTheAnswer) {
    setBackendAnswers(R"({"create":{"waitForFile":"/run/go"}})");
    storeAndAnnounce(creation());
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    server.pause();
    writeFile("/run/go", "");
    std::this_thread::sleep_for(std::chrono::seconds(3));
    server.resume();
    ASSERT_TRUE(awaitReply());
    EXPECT_EQ(client.hash("status/1/result")["&&ReturnStatus"], "OK");
    EXPECT_EQ(client.list(MEMBERS).size(), 1U);
}

TEST_F(RedisFaults, OfAFullMemoryLoseNothingAndEndWithIt) {
    storeRequest(client, creation(1));
    storeRequest(client, creation(2));
    const std::string before = client.dumpAll();
    client.command("CONFIG", "SET", "maxmemory", "1");
    announce(creation(1), requestMessage(creation(1)));
    ASSERT_TRUE(awaitReply());
    EXPECT_EQ(client.dumpAll(), before);
    EXPECT_TRUE(log().ends_with("[Error]: Create certificate: update Certificate Collection "
                                "failed.\n"
                                "[Error]: Create certificate: create certificate error.\n"))
        << log();
    client.command("CONFIG", "SET", "maxmemory", "0");
    EXPECT_EQ(describeAnswer(send(creation(2))), "OK");
}

// The listeners do not come back by themselves; a new daemon finds everything that was stored.
TEST_F(RedisFaults, OfARestartedServerNeedARestartedDaemon) {
    EXPECT_EQ(describeAnswer(send(creation(1))), "OK");
    server.restart();
    RedisClient newClient(server);
    EXPECT_EQ(newClient.command("PUBLISH", channelName(RequestKind::CREATE), "x y").integer, 0);
    EXPECT_TRUE(daemon->running());
    daemon.reset();
    startWithoutEvents();
    EXPECT_EQ(describeAnswer(send(creation(2))), "OK");
    EXPECT_EQ(newClient.list(MEMBERS).size(), 2U);
}

// The next action writes into the closed socket of its listener's commands: on a Unix socket the
// first byte tells.
TEST_F(RedisFaults, OfAConnectionThatTheServerClosedDoNotEndTheDaemon) {
    daemon.reset();
    writeConnectionFiles(server, RedisAddress::UNIX_SOCKET);
    startWithoutEvents();
    storeRequest(client, soundRequest(RequestKind::ACTION));
    client.command("CLIENT", "KILL", "TYPE", "normal");
    const std::string before = log();
    announce(soundRequest(RequestKind::ACTION), requestMessage(soundRequest(RequestKind::ACTION)));
    ASSERT_TRUE(waitUntil([&] { return log() != before || !daemon->running(); }));
    EXPECT_TRUE(daemon->running());
    EXPECT_EQ(backendCalls().size(), 0U);
}

} // namespace
