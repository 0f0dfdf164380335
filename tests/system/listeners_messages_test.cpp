// What the listeners make of messages: how each is split, on which connection it is handled, in
// which order, and which are passed over.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"
#include "tests/system/request_road.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

namespace {

using testing::ElementsAre;
using Texts = std::vector<std::string>;

const auto EVERY_KIND =
    testing::Values(RequestKind::CREATE, RequestKind::REMOVE, RequestKind::ACTION);

std::string statusKey(int number) {
    return "status/" + std::to_string(number) + "/result";
}

class Listeners : public RequestRoad {
protected:
    explicit Listeners(const RedisServerOptions& options = {})
        : RequestRoad(options), replies(server) {
        (void)replies.commandList({"PSUBSCRIBE", "answers/*"});
    }

    // The next replies, whatever channels they come on.
    Texts nextReplies(std::size_t count) {
        Texts texts;
        RedisAnswer message;
        while (texts.size() < count && replies.nextMessage(message, ANSWER_LIMIT_SECONDS)) {
            texts.push_back(message.texts().back());
        }
        return texts;
    }

    RedisClient replies;
};

class Listener : public Listeners, public testing::WithParamInterface<RequestKind> {
protected:
    Listener() {
        start();
    }

    long long connectionsSoFar() {
        const std::string stats = client.command("INFO", "stats").text;
        const std::string name = "total_connections_received:";
        return std::stoll(stats.substr(stats.find(name) + name.size()));
    }
};

INSTANTIATE_TEST_SUITE_P(Each, Listener, EVERY_KIND, kindName);

// ---- splitting ----

TEST_P(Listener, TakesEverythingBehindTheFirstBlankForTheStatusKey) {
    for (const std::string key : {"status/1 and more", " status/1", "status/%s %d\r\n"}) {
        FrontEndRequest request = soundRequest(GetParam());
        request.statusKey = key;
        EXPECT_EQ(send(request).reply, key);
        EXPECT_FALSE(client.hash(key).empty()) << key;
    }
    EXPECT_TRUE(client.hash("status/1").empty());
}

TEST_P(Listener, TakesAMessageWithoutABlankForBothKeys) {
    FrontEndRequest request = soundRequest(GetParam());
    request.requestKey = "requests/%s%n\n";
    storeRequest(client, request);
    announce(request, request.requestKey);
    EXPECT_THAT(nextReplies(1), ElementsAre(request.requestKey));
    EXPECT_EQ(client.hash(request.requestKey).count("&&ReturnStatus"), 1U);
}

TEST_P(Listener, KeepsWhatStandsBehindANulCharacter) {
    const FrontEndRequest request = soundRequest(GetParam());
    storeRequest(client, request);
    // Commands end a text at its NUL, so that the record is found all the same.
    announce(request, request.requestKey + std::string("\0more ", 6) + request.statusKey);
    EXPECT_THAT(nextReplies(1), ElementsAre(request.statusKey));
}

TEST_P(Listener, PassesEmptyMessagesOverWithoutAConnection) {
    const FrontEndRequest request = soundRequest(GetParam());
    const auto before = connectionsSoFar();
    announce(request, "");
    announce(request, "");
    storeAndAnnounce(request);
    ASSERT_EQ(nextReplies(1).size(), 1U);
    EXPECT_EQ(connectionsSoFar(), before + (GetParam() == RequestKind::ACTION ? 0 : 1));
    EXPECT_EQ(log().find("data structure error"), std::string::npos);
}

// ---- order and connections ----

TEST_P(Listener, HandlesMessagesOneAfterTheOtherInTheirOrder) {
    CommandMonitor monitor(server);
    const std::vector<int> numbers = {5, 3, 1, 4, 2};
    Texts expected;
    for (const int number : numbers) {
        storeRequest(client, soundRequest(GetParam(), number));
        expected.push_back(statusKey(number));
    }
    for (const int number : numbers) {
        const FrontEndRequest request = soundRequest(GetParam(), number);
        announce(request, requestMessage(request));
    }
    EXPECT_EQ(nextReplies(numbers.size()), expected);
    Texts clients; // of the daemon, each once for every run of commands
    for (const auto& [from, words] : monitor.stop()) {
        if (from.starts_with(DAEMON_CLIENTS) && (clients.empty() || clients.back() != from)) {
            clients.push_back(from);
        }
    }
    const std::size_t connections = GetParam() == RequestKind::ACTION ? 1 : numbers.size();
    EXPECT_EQ(clients.size(), connections) << "each request's commands come in one piece";
    std::sort(clients.begin(), clients.end());
    EXPECT_EQ(std::unique(clients.begin(), clients.end()), clients.end());
}

TEST_P(Listener, LeavesNoConnectionBehind) {
    ASSERT_TRUE(waitUntil([this] { return tcpClientCount(client) == 5; }));
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(send(soundRequest(GetParam())).reply.has_value());
    }
    EXPECT_TRUE(waitUntil([this] { return tcpClientCount(client) == 5; }));
}

TEST_F(Listeners, OfOtherChannelsDoNotWaitForASlowRequest) {
    setBackendAnswers(R"({"delete":{"waitForFile":"/run/go"}})");
    start();
    storeAndAnnounce(soundRequest(RequestKind::REMOVE, 1));
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    storeAndAnnounce(soundRequest(RequestKind::REMOVE, 2));
    storeAndAnnounce(soundRequest(RequestKind::ACTION, 3));
    EXPECT_THAT(nextReplies(1), ElementsAre(statusKey(3)));
    EXPECT_EQ(backendCalls().size(), 2U) << "the next deletion waits";
    writeFile("/run/go", "");
    EXPECT_THAT(nextReplies(2), ElementsAre(statusKey(1), statusKey(2)));
}

// Without a work connection the listener does not subscribe at all.
TEST_F(Listeners, OfActionsConnectForTheirWorkBeforeTheirSubscription) {
    CommandMonitor monitor(server);
    start();
    ASSERT_TRUE(send(signing("")).reply.has_value());
    std::string subscriber;
    std::string worker;
    for (const auto& [from, words] : monitor.stop()) {
        if (words == Command{"SUBSCRIBE", channelName(RequestKind::ACTION)}) {
            subscriber = from;
        } else if (words == Command{"TYPE", "requests/1"}) {
            worker = from;
        }
    }
    // Connections are numbered as they are made.
    const auto number = [this](const std::string& address) {
        for (const auto& line : splitLines(client.command("CLIENT", "LIST").text)) {
            if (line.find(" addr=" + address + " ") != std::string::npos) {
                return std::stol(line.substr(std::string("id=").size()));
            }
        }
        return -1L;
    };
    EXPECT_NE(number(worker), -1);
    EXPECT_LT(number(worker), number(subscriber));
}

TEST_F(Listeners, OfActionsNeedNoNewConnectionForARequest) {
    start();
    client.command("CONFIG", "SET", "maxclients", "1"); // nobody new comes in
    storeAndAnnounce(signing(""));
    EXPECT_THAT(nextReplies(1), ElementsAre(statusKey(1)));
}

// ---- work connections that cannot be made ----

class CollectionListener : public Listeners, public testing::WithParamInterface<RequestKind> {
protected:
    CollectionListener() : Listeners({.password = "first"}) {
        writeConnectionFiles(server); // the socket, which can be taken away
        start();
        (void)waitUntil([this] { return logLines(*daemon).size() == 8; });
    }

    // The request is dropped: logged, and left as it is.
    void expectDropped(const FrontEndRequest& request) {
        storeAndAnnounce(request);
        EXPECT_TRUE(waitUntil([this] { return logLines(*daemon).size() == 10; }));
        // The text ends in a line feed of its own.
        EXPECT_TRUE(log().ends_with("[Error]: Failed to connect to Redis\n\n"));
        EXPECT_EQ(client.hash(request.requestKey).size(), 3U);
        EXPECT_TRUE(client.hash(request.statusKey).empty());
        EXPECT_TRUE(daemon->running());
    }
};

TEST_P(CollectionListener, DropsAMessageThatItCannotConnectForAndGoesOn) {
    std::filesystem::rename(server.socketPath(), server.socketPath() + ".away");
    expectDropped(soundRequest(GetParam(), 1));
    std::filesystem::rename(server.socketPath() + ".away", server.socketPath());
    storeAndAnnounce(soundRequest(GetParam(), 2));
    EXPECT_THAT(nextReplies(1), ElementsAre(statusKey(2)));
}

TEST_P(CollectionListener, DropsEveryMessageAfterAChangeOfThePassword) {
    client.command("CONFIG", "SET", "requirepass", "second");
    writeFile("/var/run/redis.requirepass", "second"); // read once only, at the start
    expectDropped(soundRequest(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Each, CollectionListener,
                         testing::Values(RequestKind::CREATE, RequestKind::REMOVE), kindName);

} // namespace
