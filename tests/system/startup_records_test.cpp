// What start-up writes to Redis and to the log, for every state of the three request queues, and
// how it ends when Redis does not let it.

#include "tests/support/command_monitor.h"
#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <set>

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Lines = std::vector<std::string>;

constexpr int START_FAILED = 255;

const std::string SERVICE = "/redfish/v1/CertificateService";
const std::string CREATE_LIST =
    "&&/redfish/v1/CertificateService/CertificateCollection/POSTCREATEQ";
const std::string DELETE_LIST = "&&/redfish/v1/CertificateService/CertificateCollection/DELETEQ";
const std::string ACTION_LIST = "&&/redfish/v1/CertificateService/POSTACTIONQ";
const std::string CREATE_NAME = "&&/redfish/v1/CertificateService/CreateNewCertificate";
const std::string DELETE_NAME = "&&/redfish/v1/CertificateService/DeleteCertificate";
const std::string ACTION_NAME = "&&/redfish/v1/CertificateService/ACTION_CHANNEL";
const std::string ASYNC_KEY =
    "&&/redfish/v1/CertificateService/Actions/#CertificateService.GenerateCSR";

const std::string STARTING = "[Debug]: Certificate Service log is starting ...";
const std::string CREATE_LOADED =
    "[Debug]: >>> skeleton certificate service loaded create channel successfully.";
const std::string DELETE_LOADED =
    "[Debug]: >>> skeleton certificate service loaded delete channel successfully.";
const std::string ACTION_LOADED =
    "[Debug]: >>> skeleton certificate service loaded action channel successfully.";
const std::string PROPERTY_FAILED = "[Error]: Init property failed.";
const std::string LINK_FAILED = "[Error]: Add channel link failed.";
const std::string ACCESS_FAILED = "[Error]: Failed to access Redis.";

const Commands LENGTHS = {{"LLEN", CREATE_LIST}, {"LLEN", DELETE_LIST}, {"LLEN", ACTION_LIST}};
const Commands SETTINGS = {{"HSET", SERVICE, "&&POSTValidation", "v_CertificateService.json"},
                           {"HSET", SERVICE, "&&SensitiveData", "ChallengePassword"}};
const Commands ASYNC_RECORD = {{"HSET", ASYNC_KEY, "&&Async", "HidePayload"}};

RedisServerOptions withTcp() {
    RedisServerOptions options;
    options.tcpPort = 6379;
    return options;
}

// The daemon is on TCP, the test on the socket.
class StartUp : public testing::Test {
protected:
    void SetUp() override {
        writeConnectionFiles(mServer, RedisAddress::TCP);
    }

    // The daemon's commands up to its subscriptions.
    std::string startCommands(CommandMonitor& monitor) {
        Commands result;
        for (const auto& command : monitor.commandsFrom("127.0.0.1:")) {
            if (command.front() != "SUBSCRIBE") {
                result.push_back(command);
            }
        }
        return describeCommands(result);
    }

    RedisServer mServer{withTcp()};
    RedisClient mClient{mServer};
};

std::string described(const std::vector<Commands>& parts) {
    std::string result;
    for (const auto& part : parts) {
        result += describeCommands(part);
    }
    return result;
}

// ---- every state of the queues ----

struct QueueState {
    bool createFilled;
    bool deleteFilled;
    bool actionFilled;
};

std::string nameOf(const QueueState& state) {
    return std::string(state.createFilled ? "filledCreation" : "emptyCreation") +
           (state.deleteFilled ? "FilledDeletion" : "EmptyDeletion") +
           (state.actionFilled ? "FilledAction" : "EmptyAction");
}

void PrintTo(const QueueState& state, std::ostream* out) {
    *out << nameOf(state);
}

class StartUpQueues : public StartUp, public testing::WithParamInterface<QueueState> {
protected:
    void SetUp() override {
        StartUp::SetUp();
        fill(GetParam().createFilled, CREATE_LIST);
        fill(GetParam().deleteFilled, DELETE_LIST);
        fill(GetParam().actionFilled, ACTION_LIST);
    }

    void fill(bool wanted, const std::string& queue) {
        if (wanted) {
            mClient.command("RPUSH", queue, "there before", "and this");
        }
    }

    static Lines expectedLines() {
        Lines lines = {STARTING};
        if (!GetParam().createFilled) {
            lines.push_back(CREATE_LOADED);
        }
        if (!GetParam().deleteFilled) {
            lines.push_back(DELETE_LOADED);
        }
        if (!GetParam().actionFilled) {
            lines.push_back(ACTION_LOADED);
        }
        return lines;
    }

    static std::string expectedCommands() {
        std::vector<Commands> parts = {LENGTHS};
        if (!GetParam().createFilled) {
            parts.push_back(SETTINGS);
            parts.push_back({{"LPUSH", CREATE_LIST, CREATE_NAME}});
        }
        if (!GetParam().deleteFilled) {
            parts.push_back({{"LPUSH", DELETE_LIST, DELETE_NAME}});
        }
        if (!GetParam().actionFilled) {
            parts.push_back({{"LPUSH", ACTION_LIST, ACTION_NAME}});
        }
        parts.push_back(ASYNC_RECORD);
        return described(parts);
    }

    Lines expectedList(bool filled, const std::string& channel) {
        return filled ? Lines{"there before", "and this"} : Lines{channel};
    }
};

TEST_P(StartUpQueues, getExactlyWhatIsMissing) {
    CommandMonitor monitor(mServer);
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    EXPECT_EQ(startCommands(monitor), expectedCommands());
    EXPECT_EQ(mainLogLines(daemon), expectedLines());
    EXPECT_EQ(mClient.list(CREATE_LIST), expectedList(GetParam().createFilled, CREATE_NAME));
    EXPECT_EQ(mClient.list(DELETE_LIST), expectedList(GetParam().deleteFilled, DELETE_NAME));
    EXPECT_EQ(mClient.list(ACTION_LIST), expectedList(GetParam().actionFilled, ACTION_NAME));
    EXPECT_EQ(mClient.hash(SERVICE).size(), GetParam().createFilled ? 0U : 2U);
    EXPECT_THAT(mClient.hash(ASYNC_KEY), ElementsAre(testing::Pair("&&Async", "HidePayload")));
    EXPECT_EQ(daemon.standardError(), "fopen: No such file or directory\n"
                                      "fopen: No such file or directory\n");
    EXPECT_EQ(daemon.standardOutput(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Table, StartUpQueues,
    testing::Values(QueueState{false, false, false}, QueueState{true, false, false},
                    QueueState{false, true, false}, QueueState{false, false, true},
                    QueueState{true, true, false}, QueueState{true, false, true},
                    QueueState{false, true, true}, QueueState{true, true, true}),
    [](const auto& row) { return nameOf(row.param); });

TEST_F(StartUp, ofASecondDaemonAddsNoSecondLink) {
    {
        DaemonProcess first(loggingToFile());
        first.waitUntilReady(mServer);
    }
    const std::string before = mClient.dumpAll();
    CommandMonitor monitor(mServer);
    ASSERT_TRUE(
        waitUntil([&] { return mClient.command("PUBSUB", "CHANNELS", "*").elements.empty(); }));
    DaemonProcess second(loggingToFile());
    second.waitUntilReady(mServer);
    EXPECT_EQ(startCommands(monitor), described({LENGTHS, ASYNC_RECORD}));
    EXPECT_EQ(mClient.dumpAll(), before);
}

TEST_F(StartUp, keepsOtherFieldsOfTheRecordsThatItWrites) {
    mClient.command("HSET", SERVICE, "Name", "\"Certificate Service\"", "&&SensitiveData", "old");
    mClient.command("HSET", ASYNC_KEY, "target", "\"x\"");
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    EXPECT_THAT(mClient.hash(SERVICE),
                UnorderedElementsAre(testing::Pair("Name", "\"Certificate Service\""),
                                     testing::Pair("&&POSTValidation", "v_CertificateService.json"),
                                     testing::Pair("&&SensitiveData", "ChallengePassword")));
    EXPECT_THAT(mClient.hash(ASYNC_KEY),
                UnorderedElementsAre(testing::Pair("target", "\"x\""),
                                     testing::Pair("&&Async", "HidePayload")));
}

// ---- connections ----

TEST_F(StartUp, usesOneConnectionWhichItClosesBeforeTheThreadsOpenTheirs) {
    CommandMonitor monitor(mServer);
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    std::set<std::string> startClients;
    std::set<std::string> subscribers;
    for (const auto& command : monitor.stop()) {
        if (command.client.find("127.0.0.1:") == 0) {
            const bool subscribes = command.words.front() == "SUBSCRIBE";
            (subscribes ? subscribers : startClients).insert(command.client);
        }
    }
    EXPECT_EQ(startClients.size(), 1U);
    EXPECT_EQ(subscribers.size(), 3U);
    EXPECT_EQ(subscribers.count(*startClients.begin()), 0U);
    // Three subscriptions, the action listener's work connection and the worker's; the socket is
    // the test's own.
    const auto daemonClients = [&] {
        std::size_t count = 0;
        for (const auto& line : splitLines(mClient.command("CLIENT", "LIST").text)) {
            count += line.find("addr=127.0.0.1:") == std::string::npos ? 0U : 1U;
        }
        return count;
    };
    EXPECT_TRUE(waitUntil([&] { return daemonClients() == 5; })) << daemonClients();
}

TEST_F(StartUp, subscribesToEveryChannelByItsName) {
    CommandMonitor monitor(mServer);
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    Commands subscriptions;
    for (const auto& command : monitor.commandsFrom("127.0.0.1:")) {
        if (command.front() == "SUBSCRIBE") {
            subscriptions.push_back(command);
        }
    }
    EXPECT_THAT(subscriptions, UnorderedElementsAre(Command{"SUBSCRIBE", CREATE_NAME},
                                                    Command{"SUBSCRIBE", DELETE_NAME},
                                                    Command{"SUBSCRIBE", ACTION_NAME}));
}

TEST_F(StartUp, logsTheFirstLineOfEveryThread) {
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    EXPECT_TRUE(waitUntil([&] { return logLines(daemon).size() == 8; }));
    auto lines = logLines(daemon);
    ASSERT_GT(lines.size(), 4U);
    lines.erase(lines.begin(), lines.begin() + 4);
    EXPECT_THAT(lines, UnorderedElementsAre("[Debug]: begin create certificate thread.",
                                            "[Debug]: begin delete certificate thread.",
                                            "[Debug]: begin process async CSR thread.",
                                            "[Debug]: begin certificate action thread."));
}

TEST(StartUpPassword, isUsedByEveryConnectionAndNeverShown) {
    RedisServerOptions options;
    options.password = "very secret word";
    const RedisServer server(options);
    writeConnectionFiles(server);
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(server);
    FrontEndRequest request;
    request.kind = RequestKind::ACTION;
    request.targetUri = "/unknown";
    EXPECT_EQ(sendRequest(server, request).reply, request.statusKey);
    EXPECT_EQ(daemon.log().find("secret"), std::string::npos);
    EXPECT_EQ(daemon.standardError().find("secret"), std::string::npos);
}

// ---- the log ----

TEST_F(StartUp, onStandardErrorHasNoLineThatTheLogIsStarting) {
    DaemonProcess daemon({{}, fakeBackendDirectory(), {}});
    daemon.waitUntilReady(mServer);
    const std::string expected =
        "Log filename is not specified. Messages will be written to stderr.\n"
        "fopen: No such file or directory\n"
        "fopen: No such file or directory\n" +
        CREATE_LOADED + "\n" + DELETE_LOADED + "\n" + ACTION_LOADED + "\n";
    EXPECT_EQ(daemon.standardError().substr(0, expected.size()), expected);
    EXPECT_EQ(daemon.standardError().find("starting"), std::string::npos);
}

TEST_F(StartUp, withLevelErrorLogsNothing) {
    auto options = loggingToFile();
    options.configuration["LOG_LEVEL"] = "error";
    DaemonProcess daemon(options);
    daemon.waitUntilReady(mServer);
    EXPECT_EQ(daemon.log(), "");
}

TEST_F(StartUp, handsTheRootCaFileOfTheConfigurationToTheBackend) {
    auto options = loggingToFile();
    options.configuration["ROOT_CA_FILE"] = "/etc/certificates/root ca.pem";
    DaemonProcess daemon(options);
    daemon.waitUntilReady(mServer);
    const std::string collection = SERVICE + "/CertificateCollection";
    storeCertificateCollection(mClient, collection);
    FrontEndRequest request;
    request.targetUri = collection;
    request.body = R"({"CertificateType": "PEM", "CertificateString": "text"})";
    EXPECT_TRUE(sendRequest(mServer, request).reply.has_value());
    const auto calls = backendCalls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_THAT(calls[0], testing::HasSubstr(R"("rootCaFile":"/etc/certificates/root ca.pem")"));
}

// ---- failures ----

class StartUpFailure : public StartUp {
protected:
    // The daemon that has ended with the status of a failed start.
    void expectFailedStart(const Lines& lines, const std::string& commands) {
        CommandMonitor monitor(mServer);
        DaemonProcess daemon(loggingToFile());
        EXPECT_EQ(daemon.waitForExit(), START_FAILED);
        EXPECT_EQ(logLines(daemon), lines);
        EXPECT_EQ(describeCommands(monitor.commandsFrom("127.0.0.1:")), commands);
        EXPECT_EQ(daemon.standardOutput(), "");
    }
};

TEST(StartUpConnection, missingFilesEndTheStart) {
    std::filesystem::remove("/var/run/redis.port");
    DaemonProcess daemon({{}, fakeBackendDirectory(), {}});
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_EQ(daemon.standardError(),
              "Log filename is not specified. Messages will be written to stderr.\n"
              "fopen: No such file or directory\n"
              "[Error]: Failed to connect to Redis.\n");
}

TEST(StartUpConnection, aServerThatIsDownEndsTheStart) {
    RedisServer server;
    writeConnectionFiles(server);
    server.stop();
    DaemonProcess daemon(loggingToFile());
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_THAT(logLines(daemon), ElementsAre(STARTING, "[Error]: Failed to connect to Redis."));
}

TEST(StartUpConnection, aWrongPasswordEndsTheStart) {
    RedisServerOptions options;
    options.password = "right";
    const RedisServer server(options);
    writeConnectionFiles(server);
    writeFile("/var/run/redis.requirepass", "wrong");
    DaemonProcess daemon(loggingToFile());
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_THAT(logLines(daemon), ElementsAre(STARTING, "[Error]: Failed to connect to Redis."));
}

TEST(StartUpConnection, aMissingPasswordEndsTheStart) {
    RedisServerOptions options;
    options.password = "right";
    const RedisServer server(options);
    writeConnectionFiles(server);
    std::filesystem::remove("/var/run/redis.requirepass");
    DaemonProcess daemon(loggingToFile());
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_THAT(logLines(daemon), ElementsAre(STARTING, ACCESS_FAILED));
}

TEST_F(StartUpFailure, ofACreationQueueThatIsNoList) {
    mClient.command("SET", CREATE_LIST, "text");
    expectFailedStart({STARTING, ACCESS_FAILED}, described({LENGTHS}));
    EXPECT_EQ(mClient.dumpAll(), describeText(CREATE_LIST) + " (string) = text\n");
}

TEST_F(StartUpFailure, ofADeletionQueueThatIsNoList) {
    mClient.command("HSET", DELETE_LIST, "field", "value");
    expectFailedStart({STARTING, ACCESS_FAILED}, described({LENGTHS}));
}

TEST_F(StartUpFailure, ofAnActionQueueThatIsNoList) {
    mClient.command("SADD", ACTION_LIST, "member");
    expectFailedStart({STARTING, ACCESS_FAILED}, described({LENGTHS}));
}

TEST_F(StartUpFailure, ofTheCreationLinkStopsBeforeTheOthers) {
    mClient.command("ACL", "SETUSER", "default", "-lpush");
    expectFailedStart({STARTING, LINK_FAILED}, described({LENGTHS, SETTINGS}));
    EXPECT_TRUE(mClient.list(CREATE_LIST).empty());
}

TEST_F(StartUpFailure, ofTheDeletionLinkKeepsTheCreationLink) {
    mClient.command("ACL", "SETUSER", "default", "resetkeys", "%R~*", "%W~" + CREATE_LIST,
                    "%W~" + ACTION_LIST, "%W~" + SERVICE);
    expectFailedStart({STARTING, CREATE_LOADED, LINK_FAILED},
                      described({LENGTHS, SETTINGS, {{"LPUSH", CREATE_LIST, CREATE_NAME}}}));
    EXPECT_THAT(mClient.list(CREATE_LIST), ElementsAre(CREATE_NAME));
}

TEST_F(StartUpFailure, ofTheActionLinkLeavesTheAsynchronousMarkUnwritten) {
    mClient.command("RPUSH", CREATE_LIST, "there before");
    mClient.command("ACL", "SETUSER", "default", "resetkeys", "%R~*", "%W~" + DELETE_LIST,
                    "%W~" + ASYNC_KEY);
    expectFailedStart({STARTING, DELETE_LOADED, LINK_FAILED},
                      described({LENGTHS, {{"LPUSH", DELETE_LIST, DELETE_NAME}}}));
}

TEST_F(StartUpFailure, ofAServerWithoutMemory) {
    mClient.command("CONFIG", "SET", "maxmemory", "1");
    CommandMonitor monitor(mServer);
    DaemonProcess daemon(loggingToFile());
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_THAT(logLines(daemon),
                ElementsAre(STARTING, PROPERTY_FAILED, PROPERTY_FAILED, LINK_FAILED));
    EXPECT_TRUE(mClient.keys().empty());
}

// ---- failures that start-up survives ----

TEST_F(StartUp, goesOnWhenTheServiceRecordIsNoHash) {
    mClient.command("SET", SERVICE, "text");
    CommandMonitor monitor(mServer);
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    EXPECT_THAT(mainLogLines(daemon), ElementsAre(STARTING, PROPERTY_FAILED, PROPERTY_FAILED,
                                                  CREATE_LOADED, DELETE_LOADED, ACTION_LOADED));
    EXPECT_EQ(startCommands(monitor), described({LENGTHS,
                                                 SETTINGS,
                                                 {{"LPUSH", CREATE_LIST, CREATE_NAME},
                                                  {"LPUSH", DELETE_LIST, DELETE_NAME},
                                                  {"LPUSH", ACTION_LIST, ACTION_NAME}},
                                                 ASYNC_RECORD}));
    EXPECT_EQ(mClient.command("GET", SERVICE).text, "text");
}

TEST_F(StartUp, goesOnWhenTheAsynchronousMarkCannotBeWritten) {
    mClient.command("RPUSH", ASYNC_KEY, "element");
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    EXPECT_THAT(mainLogLines(daemon),
                ElementsAre(STARTING, CREATE_LOADED, DELETE_LOADED, ACTION_LOADED,
                            "[Error]: Init /redfish/v1/CertificateService/Actions/"
                            "CertificateService.GenerateCSR to support Async failed."));
    EXPECT_THAT(mClient.list(ASYNC_KEY), ElementsAre("element"));
}

TEST_F(StartUp, leavesNoOtherKeys) {
    DaemonProcess daemon(loggingToFile());
    daemon.waitUntilReady(mServer);
    EXPECT_THAT(mClient.keys(),
                UnorderedElementsAre(SERVICE, CREATE_LIST, DELETE_LIST, ACTION_LIST, ASYNC_KEY));
}

} // namespace
