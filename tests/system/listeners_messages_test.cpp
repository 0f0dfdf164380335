// What the listeners make of messages: how each is split, on which connection it is handled, in
// which order, and which are passed over.

#include "tests/support/command_monitor.h"
#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <ostream>

// GoogleTest's name for a channel's tests.
static void PrintTo(RequestKind kind, std::ostream* out) {
    *out << (kind == RequestKind::CREATE   ? "creation"
             : kind == RequestKind::REMOVE ? "deletion"
                                           : "action");
}

namespace {

using testing::ElementsAre;
using Texts = std::vector<std::string>;

constexpr int ABORTED = 134;
const std::string RELEASE_FILE = "/tmp/backend.release";
const std::string NO_CONNECTION = "[Error]: Failed to connect to Redis";

RedisServerOptions withTcp() {
    RedisServerOptions options;
    options.tcpPort = 6379;
    return options;
}

// A request that every handler answers without the backend's help: of an unknown collection,
// certificate or action.
FrontEndRequest requestOf(RequestKind kind, const std::string& name = "1") {
    FrontEndRequest request;
    request.kind = kind;
    request.targetUri = kind == RequestKind::ACTION ? "/no/such/action"
                                                    : "/redfish/v1/CertificateService/C/" + name;
    request.body = R"({"CertificateType": "PEM", "CertificateString": "text"})";
    request.requestKey = "requests/" + name;
    request.bodyKey = "requests/" + name + "/body";
    request.statusKey = "status/" + name + "/result";
    return request;
}

// The daemon is on TCP, the test on the socket.
class ListenerMessages : public testing::TestWithParam<RequestKind> {
protected:
    void SetUp() override {
        writeConnectionFiles(mServer, RedisAddress::TCP);
        mDaemon = std::make_unique<DaemonProcess>(loggingToFile());
        mDaemon->waitUntilReady(mServer);
    }

    // Announces a message, whatever stands in it, to exactly one listener.
    void publish(const std::string& message, RequestKind kind = GetParam()) {
        EXPECT_EQ(mClient.command("PUBLISH", channelName(kind), message).integer, 1);
    }

    void storeAndPublish(const FrontEndRequest& request) {
        storeRequest(mClient, request);
        publish(requestMessage(request), request.kind);
    }

    // Waits for the next answers on the return channel, to which waitFor has subscribed.
    Texts answers(std::size_t count) {
        Texts result;
        RedisAnswer message;
        while (result.size() < count && mAnswers.nextMessage(message, ANSWER_LIMIT_SECONDS)) {
            result.push_back(message.texts().back());
        }
        return result;
    }

    void listenForAnswers() {
        mAnswers.command("SUBSCRIBE", "answers/1");
    }

    // The handler's line in the log.
    static std::string errorLine(const std::string& text) {
        const std::string operation = GetParam() == RequestKind::CREATE   ? "Create certificate"
                                      : GetParam() == RequestKind::REMOVE ? "Delete certificate"
                                                                          : "Certificate action";
        return "[Error]: " + operation + ": " + text;
    }

    long long connectionsSoFar() {
        const std::string stats = mClient.command("INFO", "stats").text;
        const std::string name = "total_connections_received:";
        return std::stoll(stats.substr(stats.find(name) + name.size()));
    }

    RedisServer mServer{withTcp()};
    RedisClient mClient{mServer};
    RedisClient mAnswers{mServer};
    std::unique_ptr<DaemonProcess> mDaemon;
};

// The clients of the daemon's commands, each once for every run of commands of its own.
Texts clientsInOrder(CommandMonitor& monitor) {
    Texts clients;
    for (const auto& command : monitor.stop()) {
        const bool fromDaemon = command.client.find("127.0.0.1:") == 0;
        if (fromDaemon && (clients.empty() || clients.back() != command.client)) {
            clients.push_back(command.client);
        }
    }
    return clients;
}

// ---- splitting ----

TEST_P(ListenerMessages, ofThreeWordsHaveABlankInTheStatusKey) {
    auto request = requestOf(GetParam());
    request.statusKey = "status/1 and more";
    const auto answer = sendRequest(mServer, request);
    EXPECT_EQ(answer.reply, "status/1 and more");
    EXPECT_FALSE(mClient.hash("status/1 and more").empty());
    EXPECT_TRUE(mClient.hash("status/1").empty());
}

TEST_P(ListenerMessages, withTwoBlanksHaveABlankAtTheBeginningOfTheStatusKey) {
    auto request = requestOf(GetParam());
    request.statusKey = " status/1";
    EXPECT_EQ(sendRequest(mServer, request).reply, " status/1");
    EXPECT_FALSE(mClient.hash(" status/1").empty());
}

TEST_P(ListenerMessages, withoutABlankAreBothKeys) {
    listenForAnswers();
    const auto request = requestOf(GetParam());
    storeRequest(mClient, request);
    publish(request.requestKey);
    EXPECT_THAT(answers(1), ElementsAre(request.requestKey));
    // The status has been written where the request stood.
    EXPECT_EQ(mClient.hash(request.requestKey).count("&&ReturnStatus"), 1U);
}

TEST_P(ListenerMessages, arriveWithPercentSignsAndLineEnds) {
    listenForAnswers();
    auto request = requestOf(GetParam());
    request.requestKey = "requests/%s%n\n";
    request.statusKey = "status/%s %d\r\n";
    storeAndPublish(request);
    EXPECT_THAT(answers(1), ElementsAre(request.statusKey));
}

TEST_P(ListenerMessages, keepWhatStandsBehindANulCharacter) {
    listenForAnswers();
    const auto request = requestOf(GetParam());
    storeRequest(mClient, request);
    // Commands end a text at its NUL, so that the record is found all the same.
    publish(request.requestKey + std::string("\0more ", 6) + request.statusKey);
    EXPECT_THAT(answers(1), ElementsAre(request.statusKey));
}

TEST_P(ListenerMessages, thatAreEmptyAreSkippedWithoutAConnection) {
    listenForAnswers();
    const auto before = connectionsSoFar();
    publish("");
    publish("");
    storeAndPublish(requestOf(GetParam()));
    ASSERT_EQ(answers(1).size(), 1U);
    const long long ownConnections = GetParam() == RequestKind::ACTION ? 0 : 1;
    EXPECT_EQ(connectionsSoFar(), before + ownConnections);
    EXPECT_EQ(mDaemon->log().find("data structure error"), std::string::npos);
}

TEST_P(ListenerMessages, ofAMissingRequestAreLoggedAndTheNextIsHandled) {
    listenForAnswers();
    publish("requests/missing status/missing");
    storeAndPublish(requestOf(GetParam()));
    EXPECT_THAT(answers(1), ElementsAre("status/1/result"));
    EXPECT_EQ(countLogLines(*mDaemon, errorLine("get request data structure failed.")), 1U);
}

TEST_P(ListenerMessages, withoutARequestKeyAreHandedOn) {
    listenForAnswers();
    publish(" status/1/result");
    storeAndPublish(requestOf(GetParam()));
    ASSERT_EQ(answers(1).size(), 1U);
    EXPECT_EQ(countLogLines(*mDaemon, errorLine("request data structure error.")), 1U);
}

// ---- order and connections ----

TEST_P(ListenerMessages, areHandledOneAfterTheOtherInTheirOrder) {
    listenForAnswers();
    Texts expected;
    CommandMonitor monitor(mServer);
    for (const char* name : {"5", "3", "1", "4", "2"}) {
        storeRequest(mClient, requestOf(GetParam(), name));
    }
    for (const char* name : {"5", "3", "1", "4", "2"}) {
        publish(requestMessage(requestOf(GetParam(), name)));
        expected.push_back("status/" + std::string(name) + "/result");
    }
    EXPECT_EQ(answers(5), expected);
    auto clients = clientsInOrder(monitor);
    const std::size_t connections = GetParam() == RequestKind::ACTION ? 1 : 5;
    EXPECT_EQ(clients.size(), connections) << "each request's commands come in one piece";
    std::sort(clients.begin(), clients.end());
    EXPECT_EQ(std::unique(clients.begin(), clients.end()), clients.end());
}

TEST_P(ListenerMessages, leaveNoConnectionBehind) {
    const auto clients = [&] { return mClient.command("CLIENT", "LIST").text; };
    const auto daemonClients = [&] {
        std::size_t count = 0;
        for (const auto& line : splitLines(clients())) {
            count += line.find("addr=127.0.0.1:") == std::string::npos ? 0U : 1U;
        }
        return count;
    };
    ASSERT_TRUE(waitUntil([&] { return daemonClients() == 5; })) << clients();
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(sendRequest(mServer, requestOf(GetParam())).reply.has_value());
    }
    EXPECT_TRUE(waitUntil([&] { return daemonClients() == 5; })) << clients();
}

INSTANTIATE_TEST_SUITE_P(Channel, ListenerMessages,
                         testing::Values(RequestKind::CREATE, RequestKind::REMOVE,
                                         RequestKind::ACTION),
                         [](const auto& row) { return testing::PrintToString(row.param); });

class Listeners : public ListenerMessages {};

INSTANTIATE_TEST_SUITE_P(All, Listeners, testing::Values(RequestKind::CREATE),
                         [](const auto&) { return "channels"; });

TEST_P(Listeners, ofOtherChannelsDoNotWaitForASlowRequest) {
    listenForAnswers();
    const auto slow = requestOf(RequestKind::REMOVE, "slow");
    std::filesystem::remove(RELEASE_FILE);
    setBackendAnswers(R"({"delete": {"waitForFile": ")" + RELEASE_FILE + R"("}})");
    const std::size_t before = backendCalls().size();
    storeAndPublish(slow);
    ASSERT_TRUE(waitUntil([&] { return backendCalls().size() == before + 1; }));
    storeAndPublish(requestOf(RequestKind::REMOVE, "next"));
    storeAndPublish(requestOf(RequestKind::ACTION, "quick"));
    EXPECT_THAT(answers(1), ElementsAre("status/quick/result"));
    EXPECT_EQ(backendCalls().size(), before + 1) << "the next deletion waits";
    writeFile(RELEASE_FILE, "");
    EXPECT_THAT(answers(2), ElementsAre("status/slow/result", "status/next/result"));
}

// ---- work connections that cannot be made ----

class DroppedMessages : public testing::TestWithParam<RequestKind> {
protected:
    void SetUp() override {
        writeConnectionFiles(mServer); // the socket, which can be taken away
        mDaemon = std::make_unique<DaemonProcess>(loggingToFile());
        mDaemon->waitUntilReady(mServer);
        mAnswers.command("SUBSCRIBE", "answers/1");
    }

    void storeAndPublish(const FrontEndRequest& request) {
        storeRequest(mClient, request);
        EXPECT_EQ(
            mClient.command("PUBLISH", channelName(request.kind), requestMessage(request)).integer,
            1);
    }

    // The log's lines behind those of the start.
    Texts newLines() {
        auto lines = logLines(*mDaemon);
        lines.erase(lines.begin(), lines.begin() + 8);
        return lines;
    }

    static RedisServerOptions withPassword() {
        RedisServerOptions options;
        options.password = "first";
        return options;
    }

    RedisServer mServer{withPassword()};
    RedisClient mClient{mServer};
    RedisClient mAnswers{mServer};
    std::unique_ptr<DaemonProcess> mDaemon;
};

TEST_P(DroppedMessages, areLoggedAndStayUnansweredWhileTheListenerGoesOn) {
    ASSERT_TRUE(waitUntil([&] { return logLines(*mDaemon).size() == 8; }));
    std::filesystem::rename(mServer.socketPath(), mServer.socketPath() + ".away");
    const auto dropped = requestOf(GetParam(), "dropped");
    storeAndPublish(dropped);
    ASSERT_TRUE(waitUntil([&] { return newLines().size() == 2; }));
    // The text ends in a line feed of its own.
    EXPECT_THAT(newLines(), ElementsAre(NO_CONNECTION, ""));
    std::filesystem::rename(mServer.socketPath() + ".away", mServer.socketPath());
    storeAndPublish(requestOf(GetParam(), "next"));
    RedisAnswer answer;
    ASSERT_TRUE(mAnswers.nextMessage(answer, ANSWER_LIMIT_SECONDS));
    EXPECT_EQ(answer.texts().back(), "status/next/result");
    EXPECT_EQ(mClient.hash(dropped.requestKey).size(), 3U) << "the request stays as it was";
    EXPECT_TRUE(mClient.hash(dropped.statusKey).empty());
    EXPECT_TRUE(mDaemon->running());
}

TEST_P(DroppedMessages, areThoseAfterAChangeOfThePassword) {
    ASSERT_TRUE(waitUntil([&] { return logLines(*mDaemon).size() == 8; }));
    mClient.command("CONFIG", "SET", "requirepass", "second");
    writeFile("/var/run/redis.requirepass", "second"); // read once only, at the start
    storeAndPublish(requestOf(GetParam(), "dropped"));
    EXPECT_TRUE(waitUntil([&] { return newLines() == Texts{NO_CONNECTION, ""}; }));
    EXPECT_TRUE(mDaemon->running());
}

INSTANTIATE_TEST_SUITE_P(Channel, DroppedMessages,
                         testing::Values(RequestKind::CREATE, RequestKind::REMOVE),
                         [](const auto& row) { return testing::PrintToString(row.param); });

TEST_P(Listeners, ofActionsNeedNoNewConnection) {
    mClient.command("CONFIG", "SET", "maxclients", "1"); // nobody new comes in
    listenForAnswers();
    storeAndPublish(requestOf(RequestKind::ACTION));
    EXPECT_THAT(answers(1), ElementsAre("status/1/result"));
}

// Without a work connection the listener does not subscribe at all.
TEST(ActionListener, ConnectsForItsWorkBeforeItConnectsForItsSubscription) {
    const RedisServer server(withTcp());
    writeConnectionFiles(server, RedisAddress::TCP);
    RedisClient client(server);
    CommandMonitor monitor(server);
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(server);
    ASSERT_TRUE(sendRequest(server, requestOf(RequestKind::ACTION)).reply.has_value());
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
    const auto number = [&](const std::string& address) {
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

// ---- exceptions ----

// A record without its return channel, which every handler reads as a string.
TEST_P(ListenerMessages, withAnUnreadableRecordEndTheProcessAndHarmNothingStored) {
    mClient.command("HSET", "requests/1", "&&TargetURI", "/x");
    const std::string before = mClient.dumpAll();
    publish("requests/1 status/1");
    EXPECT_EQ(mDaemon->waitForExit(), ABORTED);
    EXPECT_EQ(mClient.dumpAll(), before);
}

TEST_P(ListenerMessages, withANumberForAStringEndTheProcessAndHarmNothingStored) {
    const auto request = requestOf(GetParam());
    storeRequest(mClient, request);
    mClient.command("HDEL", request.requestKey, "&&TargetURI");
    mClient.command("HSET", request.requestKey, "&&Array &&TargetURI &&x", "");
    const std::string before = mClient.dumpAll();
    publish(requestMessage(request));
    EXPECT_EQ(mDaemon->waitForExit(), ABORTED);
    EXPECT_EQ(mClient.dumpAll(), before);
}

} // namespace
