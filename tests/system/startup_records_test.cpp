// What start-up writes to Redis and to the log, for every state of the three request queues, and
// how it ends when Redis does not let it.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"
#include "tests/system/request_road.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <set>

namespace {

using Fields = std::map<std::string, std::string>;
using Texts = std::vector<std::string>;

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
const std::string LOADED = "[Debug]: >>> skeleton certificate service loaded ";
const std::string CREATE_LOADED = LOADED + "create channel successfully.";
const std::string DELETE_LOADED = LOADED + "delete channel successfully.";
const std::string ACTION_LOADED = LOADED + "action channel successfully.";
const std::string PROPERTY_FAILED = "[Error]: Init property failed.";
const std::string LINK_FAILED = "[Error]: Add channel link failed.";
const std::string ACCESS_FAILED = "[Error]: Failed to access Redis.";
const std::string CONNECTION_FAILED = "[Error]: Failed to connect to Redis.";
const std::string ASYNC_FAILED = "[Error]: Init /redfish/v1/CertificateService/Actions/"
                                 "CertificateService.GenerateCSR to support Async failed.";

const Commands LENGTHS = {{"LLEN", CREATE_LIST}, {"LLEN", DELETE_LIST}, {"LLEN", ACTION_LIST}};
const Commands SETTINGS = {{"HSET", SERVICE, "&&POSTValidation", "v_CertificateService.json"},
                           {"HSET", SERVICE, "&&SensitiveData", "ChallengePassword"}};
const Command CREATE_LINK = {"LPUSH", CREATE_LIST, CREATE_NAME};
const Command DELETE_LINK = {"LPUSH", DELETE_LIST, DELETE_NAME};
const Command ACTION_LINK = {"LPUSH", ACTION_LIST, ACTION_NAME};
const Commands ASYNC_RECORD = {{"HSET", ASYNC_KEY, "&&Async", "HidePayload"}};

Commands operator+(Commands commands, const Commands& more) {
    commands.insert(commands.end(), more.begin(), more.end());
    return commands;
}

class StartUp : public RequestRoad {
protected:
    explicit StartUp(const RedisServerOptions& options = {}) : RequestRoad(options) {
        client.flushAll();
    }

    // The daemon's commands up to its subscriptions.
    static std::string startCommands(CommandMonitor& monitor) {
        Commands commands = monitor.commandsFrom(DAEMON_CLIENTS);
        std::erase_if(commands, [](const Command& words) { return words[0] == "SUBSCRIBE"; });
        return describeCommands(commands);
    }

    void expectFailedStart(const Texts& lines) {
        launch();
        EXPECT_EQ(daemon->waitForExit(), START_FAILED);
        EXPECT_EQ(logLines(*daemon), lines);
        EXPECT_EQ(daemon->standardOutput(), "");
    }

    void expectFailedStart(const Texts& lines, const Commands& commands) {
        CommandMonitor monitor(server);
        expectFailedStart(lines);
        EXPECT_EQ(describeCommands(monitor.commandsFrom(DAEMON_CLIENTS)),
                  describeCommands(commands));
    }
};

// ---- every state of the queues ----

// Which of the queues for creation, deletion and action are filled.
class StartUpQueues : public StartUp,
                      public testing::WithParamInterface<std::tuple<bool, bool, bool>> {};

TEST_P(StartUpQueues, GetExactlyWhatIsMissing) {
    const auto [createFilled, deleteFilled, actionFilled] = GetParam();
    const Texts before = {"there before", "and this"};
    Texts lines = {STARTING};
    Commands commands = LENGTHS;
    std::set<std::string> keys = {CREATE_LIST, DELETE_LIST, ACTION_LIST, ASYNC_KEY};
    if (!createFilled) {
        commands = commands + SETTINGS;
        keys.insert(SERVICE);
    }
    const auto prepare = [&](bool filled, const std::string& list, const Command& link,
                             const std::string& line) {
        if (filled) {
            client.command("RPUSH", list, before[0], before[1]);
        } else {
            commands.push_back(link);
            lines.push_back(line);
        }
    };
    prepare(createFilled, CREATE_LIST, CREATE_LINK, CREATE_LOADED);
    prepare(deleteFilled, DELETE_LIST, DELETE_LINK, DELETE_LOADED);
    prepare(actionFilled, ACTION_LIST, ACTION_LINK, ACTION_LOADED);
    CommandMonitor monitor(server);
    start();
    EXPECT_EQ(startCommands(monitor), describeCommands(commands + ASYNC_RECORD));
    EXPECT_EQ(mainLogLines(*daemon), lines);
    EXPECT_EQ(client.list(CREATE_LIST), createFilled ? before : Texts{CREATE_NAME});
    EXPECT_EQ(client.list(DELETE_LIST), deleteFilled ? before : Texts{DELETE_NAME});
    EXPECT_EQ(client.list(ACTION_LIST), actionFilled ? before : Texts{ACTION_NAME});
    EXPECT_EQ(client.hash(SERVICE).size(), createFilled ? 0U : 2U);
    EXPECT_EQ(client.hash(ASYNC_KEY), (Fields{{"&&Async", "HidePayload"}}));
    EXPECT_THAT(client.keys(), testing::ElementsAreArray(keys));
    EXPECT_EQ(daemon->standardError(), "fopen: No such file or directory\n"
                                       "fopen: No such file or directory\n");
    EXPECT_EQ(daemon->standardOutput(), "");
}

std::string stateName(const testing::TestParamInfo<std::tuple<bool, bool, bool>>& info) {
    const auto [creation, deletion, action] = info.param;
    return std::string(creation ? "Filled" : "Empty") + (deletion ? "Filled" : "Empty") +
           (action ? "Filled" : "Empty");
}

INSTANTIATE_TEST_SUITE_P(InEveryState, StartUpQueues,
                         testing::Combine(testing::Bool(), testing::Bool(), testing::Bool()),
                         stateName);

TEST_F(StartUp, OfASecondDaemonAddsNoSecondLink) {
    start();
    daemon.reset();
    ASSERT_TRUE(
        waitUntil([this] { return client.command("PUBSUB", "CHANNELS", "*").elements.empty(); }));
    const std::string before = client.dumpAll();
    CommandMonitor monitor(server);
    start();
    EXPECT_EQ(startCommands(monitor), describeCommands(LENGTHS + ASYNC_RECORD));
    EXPECT_EQ(client.dumpAll(), before);
}

TEST_F(StartUp, KeepsOtherFieldsOfTheRecordsThatItWrites) {
    client.command("HSET", SERVICE, "Name", "\"Certificate Service\"", "&&SensitiveData", "old");
    client.command("HSET", ASYNC_KEY, "target", "\"x\"");
    start();
    EXPECT_EQ(client.hash(SERVICE), (Fields{{"Name", "\"Certificate Service\""},
                                            {"&&POSTValidation", "v_CertificateService.json"},
                                            {"&&SensitiveData", "ChallengePassword"}}));
    EXPECT_EQ(client.hash(ASYNC_KEY), (Fields{{"target", "\"x\""}, {"&&Async", "HidePayload"}}));
}

// ---- connections ----

TEST_F(StartUp, UsesOneConnectionWhichItClosesBeforeTheThreadsOpenTheirs) {
    CommandMonitor monitor(server);
    start();
    std::set<std::string> startClients;
    std::set<std::string> subscribers;
    for (const auto& [from, words] : monitor.stop()) {
        if (from.starts_with(DAEMON_CLIENTS)) {
            (words.front() == "SUBSCRIBE" ? subscribers : startClients).insert(from);
        }
    }
    EXPECT_EQ(startClients.size(), 1U);
    EXPECT_EQ(subscribers.size(), 3U);
    EXPECT_EQ(subscribers.count(*startClients.begin()), 0U);
    // Three subscriptions, the action listener's work connection and the worker's.
    EXPECT_TRUE(waitUntil([this] { return tcpClientCount(client) == 5; }));
}

class StartUpWithAPassword : public StartUp {
protected:
    StartUpWithAPassword() : StartUp({.password = "very secret word"}) {}
};

TEST_F(StartUpWithAPassword, UsesItForEveryConnectionAndNeverShowsIt) {
    start();
    EXPECT_TRUE(send(signing("")).reply.has_value());
    EXPECT_EQ(log().find("secret"), std::string::npos);
    EXPECT_EQ(daemon->standardError().find("secret"), std::string::npos);
}

TEST_F(StartUpWithAPassword, CannotConnectWithAWrongOne) {
    writeFile("/var/run/redis.requirepass", "wrong");
    expectFailedStart({STARTING, CONNECTION_FAILED});
}

TEST_F(StartUpWithAPassword, CannotReadAnythingWithoutIt) {
    std::filesystem::remove("/var/run/redis.requirepass");
    expectFailedStart({STARTING, ACCESS_FAILED});
}

TEST_F(StartUp, EndsWhenTheServerIsDown) {
    server.stop();
    expectFailedStart({STARTING, CONNECTION_FAILED});
}

TEST_F(StartUp, LogsNoStartOnStandardError) {
    launch({{"LOG_FILE", ""}});
    daemon->waitUntilReady(server);
    const std::string expected =
        "Log filename is not specified. Messages will be written to stderr.\n"
        "fopen: No such file or directory\n"
        "fopen: No such file or directory\n" +
        CREATE_LOADED + "\n" + DELETE_LOADED + "\n" + ACTION_LOADED + "\n";
    EXPECT_EQ(daemon->standardError().substr(0, expected.size()), expected);
    EXPECT_EQ(daemon->standardError().find("starting"), std::string::npos);
}

// ---- what Redis refuses ----

TEST_F(StartUp, EndsWhenAQueueIsNoList) {
    for (const std::string& queue : {CREATE_LIST, DELETE_LIST, ACTION_LIST}) {
        client.flushAll();
        client.command("SET", queue, "text");
        expectFailedStart({STARTING, ACCESS_FAILED}, LENGTHS);
        EXPECT_EQ(client.dumpAll(), describeText(queue) + " (string) = text\n");
    }
}

TEST_F(StartUp, EndsAtACreationLinkThatIsRefused) {
    client.command("ACL", "SETUSER", "default", "-lpush");
    expectFailedStart({STARTING, LINK_FAILED}, LENGTHS + SETTINGS);
    EXPECT_TRUE(client.list(CREATE_LIST).empty());
}

TEST_F(StartUp, EndsAtADeletionLinkThatIsRefusedAndKeepsTheCreationLink) {
    client.command("ACL", "SETUSER", "default", "resetkeys", "%R~*", "%W~" + CREATE_LIST,
                   "%W~" + ACTION_LIST, "%W~" + SERVICE);
    expectFailedStart({STARTING, CREATE_LOADED, LINK_FAILED},
                      LENGTHS + SETTINGS + Commands{CREATE_LINK});
    EXPECT_EQ(client.list(CREATE_LIST), Texts{CREATE_NAME});
}

TEST_F(StartUp, EndsAtAnActionLinkThatIsRefusedWithoutTheAsynchronousMark) {
    client.command("RPUSH", CREATE_LIST, "there before");
    client.command("ACL", "SETUSER", "default", "resetkeys", "%R~*", "%W~" + DELETE_LIST,
                   "%W~" + ASYNC_KEY);
    expectFailedStart({STARTING, DELETE_LOADED, LINK_FAILED}, LENGTHS + Commands{DELETE_LINK});
}

TEST_F(StartUp, EndsWhenTheServerHasNoMemory) {
    client.command("CONFIG", "SET", "maxmemory", "1");
    expectFailedStart({STARTING, PROPERTY_FAILED, PROPERTY_FAILED, LINK_FAILED});
    EXPECT_TRUE(client.keys().empty());
}

TEST_F(StartUp, GoesOnWhenTheServiceRecordIsNoHash) {
    client.command("SET", SERVICE, "text");
    CommandMonitor monitor(server);
    start();
    EXPECT_EQ(mainLogLines(*daemon), (Texts{STARTING, PROPERTY_FAILED, PROPERTY_FAILED,
                                            CREATE_LOADED, DELETE_LOADED, ACTION_LOADED}));
    EXPECT_EQ(startCommands(monitor),
              describeCommands(LENGTHS + SETTINGS +
                               Commands{CREATE_LINK, DELETE_LINK, ACTION_LINK} + ASYNC_RECORD));
    EXPECT_EQ(client.command("GET", SERVICE).text, "text");
}

TEST_F(StartUp, GoesOnWhenTheAsynchronousMarkCannotBeWritten) {
    client.command("RPUSH", ASYNC_KEY, "element");
    start();
    EXPECT_EQ(mainLogLines(*daemon),
              (Texts{STARTING, CREATE_LOADED, DELETE_LOADED, ACTION_LOADED, ASYNC_FAILED}));
    EXPECT_EQ(client.list(ASYNC_KEY), Texts{"element"});
}

} // namespace
