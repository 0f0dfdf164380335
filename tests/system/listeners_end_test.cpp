// How the listeners end: with their subscription, or at their start; and that nothing brings them
// back.

#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"
#include "tests/system/request_road.h"
#include "tests/system/start_faults.h"

#include <gmock/gmock.h>

namespace {

using Texts = std::vector<std::string>;

const auto EVERY_KIND =
    testing::Values(RequestKind::CREATE, RequestKind::REMOVE, RequestKind::ACTION);
constexpr std::size_t START_LINES = 4;
constexpr std::size_t ALL_LINES = 8;

class Listeners : public RequestRoad {
protected:
    using RequestRoad::RequestRoad;

    void startWithAllLines() {
        start();
        ASSERT_TRUE(waitUntil([this] { return logLines(*daemon).size() == ALL_LINES; }));
    }
};

TEST_F(Listeners, EndWithTheServerAndStayAwayWhileTheWorkerKeepsTheProcess) {
    startWithAllLines();
    const Texts lines = logLines(*daemon);
    const std::size_t threads = threadCount(*daemon);
    server.stop();
    EXPECT_TRUE(waitUntil([&] { return threadCount(*daemon) == threads - 3; }));
    server.start();
    RedisClient newClient(server);
    EXPECT_FALSE(daemon->waitForExit(1.0).has_value());
    EXPECT_EQ(listening(newClient), "0 0 0");
    EXPECT_EQ(clientCount(newClient), 1U);
    EXPECT_EQ(threadCount(*daemon), threads - 3);
    EXPECT_EQ(logLines(*daemon), lines) << "an ended subscription is not logged";
}

TEST_F(Listeners, EndTheProcessWhenTheWorkerHasEndedBefore) {
    setBackendAnswers(R"({"generateCSR":{"throw":"out of order"}})");
    startWithAllLines();
    const std::size_t threads = threadCount(*daemon);
    EXPECT_EQ(describeAnswer(send(signing(R"("KeyBitLength":2048)"))), "PROCESSING");
    ASSERT_TRUE(waitUntil([&] { return threadCount(*daemon) == threads - 1; })) << log();
    EXPECT_EQ(listening(client), "1 1 1") << "the listeners go on without the worker";
    server.stop();
    EXPECT_EQ(daemon->waitForExit(), 0);
    EXPECT_EQ(logLines(*daemon).back(), "[Debug]: >>> exiting certificate_service.");
}

TEST_F(Listeners, OfActionsKeepAWorkConnectionThatIsLost) {
    startWithAllLines();
    client.command("CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes");
    EXPECT_EQ(listening(client), "1 1 1");
    for (std::size_t count = 1; count <= 2; ++count) {
        storeAndAnnounce(signing(""));
        EXPECT_TRUE(waitUntil([&] {
            return countLogLines(*daemon, "[Error]: Certificate action: get request data "
                                          "structure failed.") == count;
        })) << log();
    }
    EXPECT_TRUE(client.hash("status/1/result").empty());
}

class OneListener : public Listeners, public testing::WithParamInterface<RequestKind> {};

TEST_P(OneListener, EndsWithItsOwnSubscriptionWhileTheOthersGoOn) {
    CommandMonitor monitor(server);
    startWithAllLines();
    std::string subscriber;
    for (const auto& [from, words] : monitor.stop()) {
        if (words == Command{"SUBSCRIBE", channelName(GetParam())}) {
            subscriber = from;
        }
    }
    const std::size_t threads = threadCount(*daemon);
    ASSERT_EQ(client.command("CLIENT", "KILL", "ADDR", subscriber).integer, 1);
    EXPECT_TRUE(waitUntil([&] { return threadCount(*daemon) == threads - 1; }));
    EXPECT_EQ(listening(client), GetParam() == RequestKind::CREATE   ? "0 1 1"
                                 : GetParam() == RequestKind::REMOVE ? "1 0 1"
                                                                     : "1 1 0");
    EXPECT_EQ(logLines(*daemon).size(), ALL_LINES) << "nothing is logged";
    const RequestKind other =
        GetParam() == RequestKind::ACTION ? RequestKind::REMOVE : RequestKind::ACTION;
    EXPECT_TRUE(send(soundRequest(other)).reply.has_value());
}

INSTANTIATE_TEST_SUITE_P(Each, OneListener, EVERY_KIND, kindName);

// ---- connections that cannot be made at the start ----

class ListenersThatCannotConnect : public Listeners {
protected:
    ListenersThatCannotConnect() : Listeners({.password = "secret"}) {}

    // Holds this call of pthread_create; the threads before it go on.
    void startHeld(const std::string& call) {
        StartFaults faults;
        faults.held = call;
        daemon = std::make_unique<DaemonProcess>(withFaults(faults, loggingToFile()));
        ASSERT_TRUE(waitForHeldStart());
    }

    // Lets in so many clients from now on, and the held thread with them.
    void goOnWithRoomFor(const std::string& clients) {
        client.command("CONFIG", "SET", "maxclients", clients);
        client.command("CONFIG", "RESETSTAT");
        releaseHeldStart();
    }

    // Waits until the threads have logged so many lines; those lines.
    Texts threadLines(std::size_t count) {
        EXPECT_TRUE(waitUntil([&] { return logLines(*daemon).size() == START_LINES + count; }));
        Texts lines = logLines(*daemon);
        lines.erase(lines.begin(), lines.begin() + START_LINES);
        return lines;
    }

    // The action listener comes last, and every other thread is connected before it.
    void startActionListenerWithRoomFor(const std::string& clients) {
        startHeld("pthread_create:4");
        ASSERT_TRUE(
            waitUntil([this] { return listening(client) == "1 1 0" && clientCount(client) == 4; }));
        goOnWithRoomFor(clients);
        const Texts lines = threadLines(5);
        ASSERT_EQ(lines.size(), 5U);
        EXPECT_EQ(lines[3], "[Debug]: begin certificate action thread.");
        EXPECT_EQ(lines[4], "[Error]: Failed to connect to Redis.");
        EXPECT_EQ(listening(client), "1 1 0");
        EXPECT_TRUE(daemon->running());
    }
};

TEST_F(ListenersThatCannotConnect, OfActionsEndWithoutAWorkConnection) {
    startActionListenerWithRoomFor("4");
}

TEST_F(ListenersThatCannotConnect, OfActionsCloseTheirWorkConnectionWithoutASubscription) {
    startActionListenerWithRoomFor("5");
    EXPECT_THAT(client.command("INFO", "stats").text,
                testing::HasSubstr("rejected_connections:1\r\n"));
    EXPECT_TRUE(waitUntil([this] { return clientCount(client) == 4; }));
}

TEST_F(ListenersThatCannotConnect, OfCollectionsLogALineAndAnEmptyOneEach) {
    startHeld("pthread_create:1");
    goOnWithRoomFor("1");
    EXPECT_EQ(daemon->waitForExit(), 0) << "no thread can connect, so all end";
    EXPECT_EQ(countLogLines(*daemon, "[Error]: Failed to connect to Redis"), 2U);
    EXPECT_EQ(countLogLines(*daemon, ""), 2U);
    EXPECT_EQ(countLogLines(*daemon, "[Error]: Failed to connect to Redis."), 2U)
        << "of the worker and the action listener";
}

TEST_F(ListenersThatCannotConnect, LeaveTheCreationListenerThatWasBeforeThem) {
    startHeld("pthread_create:2");
    ASSERT_TRUE(waitUntil([this] { return listening(client) == "1 0 0"; }));
    goOnWithRoomFor("1");
    (void)threadLines(8);
    EXPECT_EQ(listening(client), "1 0 0");
    EXPECT_TRUE(daemon->running());
    EXPECT_EQ(countLogLines(*daemon, "[Error]: Failed to connect to Redis"), 1U);
    EXPECT_EQ(countLogLines(*daemon, "[Error]: Failed to connect to Redis."), 2U);
}

} // namespace
