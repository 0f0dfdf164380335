// What ends a command early: exit code, words and hint.

#include "tests/frontend/front_end_program.h"
#include "tests/support/certificates.h"
#include "tests/support/child_process.h"
#include "tests/support/fake_backend.h"
#include "tests/support/wait.h"

#include <filesystem>

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;
using Errors = FrontEndTest;

const std::string REPLACE_ACTION =
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate";

TEST(WithoutRedis, AMissingConnectionFileIsNamed) {
    const ProgramResult result = runFrontEnd({"get", "/redfish/v1", "--json"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors,
              "certificatectl: Redis is not there: its connection file /var/run/redis.port cannot "
              "be read.\n"
              "  Start the board's Redis server. A server started by hand needs the files "
              "/var/run/redis.port (holding 0) and /var/run/redis.unixsocket (holding the path of "
              "its socket), both without a line end.\n");
    EXPECT_EQ(result.json()["exitCode"], 3);
}

TEST(WithoutRedis, AServerThatDoesNotAnswerIsNamed) {
    struct Row {
        const char* port;
        const char* socket; // null: no such file
    };
    RedisServerOptions options;
    options.tcpPort = 7000; // no port is tried but the standard one
    const RedisServer server(options);
    const std::vector<Row> rows = {{"0", "/run/none.sock"}, {"0", nullptr}, {"7000", nullptr}};
    for (const Row& row : rows) {
        writeFile("/run/redis.port", row.port);
        std::filesystem::remove("/run/redis.unixsocket");
        if (row.socket != nullptr) {
            writeFile("/run/redis.unixsocket", row.socket);
        }
        EXPECT_EQ(runFrontEnd({"init"}),
                  (ProgramResult{3, "",
                                 "certificatectl: Redis is not there: the server that the files "
                                 "/var/run/redis.* name does not answer or refuses the password.\n"
                                 "  Look whether redis-server runs, and on which socket.\n"}));
    }
}

TEST(WithoutRedis, AServerOnTheStandardPortIsReached) {
    RedisServerOptions options;
    options.tcpPort = 6379;
    const RedisServer server(options);
    writeConnectionFiles(server, RedisAddress::TCP);
    EXPECT_EQ(runFrontEnd({"init"}).errors, "");
}

TEST(WithAPassword, TheServerIsReachedByTheConnectionFiles) {
    RedisServerOptions options;
    options.password = "secret";
    const RedisServer server(options);
    writeConnectionFiles(server);
    EXPECT_EQ(runFrontEnd({"init"}).status, 0);
    writeFile("/run/redis.requirepass", "wrong");
    EXPECT_THAT(runFrontEnd({"init"}).errors, HasSubstr("or refuses the password."));
    std::filesystem::remove("/run/redis.requirepass");
    EXPECT_EQ(
        runFrontEnd({"init"}),
        (ProgramResult{
            3, "", "certificatectl: Redis refuses a command: NOAUTH Authentication required.\n"}));
}

TEST_F(Errors, ARedisServerThatStandsStillIsReported) {
    server.pause();
    const ProgramResult result = runFrontEnd({"get", COLLECTION});
    server.resume();
    EXPECT_EQ(result, (ProgramResult{3, "",
                                     "certificatectl: Redis gives no answer within 5 seconds.\n"
                                     "  It is stopped or overloaded; look what it does.\n"}));
}

TEST_F(Errors, ADaemonThatDoesNotListenIsReportedAndNothingStaysBehind) {
    const std::string file = fileWith(makeSelfSigned().certificate);
    const std::vector<std::vector<std::string>> commands = {
        {"create", COLLECTION, file},      {"replace", COLLECTION + "/1", file},
        {"delete", COLLECTION + "/1"},     {"generate-csr", COLLECTION, "--cn", "a"},
        {"action", "/redfish/v1/Nothing"},
    };
    for (const auto& command : commands) {
        const ProgramResult result = runFrontEnd(command);
        EXPECT_EQ(result.status, 4) << command[0];
        EXPECT_EQ(result.output, "") << command[0];
        EXPECT_THAT(result.errors,
                    ContainsRegex("^certificatectl: The daemon does not listen: the request on "
                                  "channel &&/redfish/v1/CertificateService/[^ ]* reached nobody.\n"
                                  "  Start CertificateService on this Redis, or look into its log "
                                  "why it has ended.\n$"));
        EXPECT_EQ(requestKeys(), std::vector<std::string>{}) << command[0];
        EXPECT_EQ(runFrontEnd({"tasks"}).output, "") << command[0];
    }
}

TEST_F(Errors, ADaemonThatEndsMeanwhileIsReported) {
    startDaemon();
    // Without the members that it needs, the request ends the daemon.
    const std::string body = fileWith(R"({"Other": "x"})");
    EXPECT_EQ(runFrontEnd({"action", REPLACE_ACTION, "--body", body, "--timeout", "50"}),
              (ProgramResult{
                  4, "",
                  "certificatectl: The daemon stopped listening while the request was under "
                  "way.\n"
                  "  Its log or its exit status tells why; the request may have ended it.\n"}));
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
}

// A daemon whose backend does not answer a creation before the test ends.
class SlowDaemon : public FrontEndTest {
protected:
    SlowDaemon() {
        startSteerableDaemon();
        setBackendAnswers(R"({"create": {"waitForFile": "/tmp/go-on"}})");
    }
    ~SlowDaemon() override {
        writeFile("/tmp/go-on", "");
    }

    const std::string file = fileWith(makeSelfSigned().certificate);
};

TEST_F(SlowDaemon, AnAnswerThatDoesNotComeInTimeIsReported) {
    const ProgramResult result =
        runFrontEnd({"create", COLLECTION, "--timeout", "1.5", file, "--json"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.errors,
              "certificatectl: The daemon listens, but gave no answer within 1.5 seconds.\n"
              "  It may be busy with other requests; its log says what it does. --timeout gives it "
              "longer.\n");
    EXPECT_EQ(result.json()["exitCode"], 4);
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
}

TEST_F(SlowDaemon, CtrlCEndsTheWaitAndTheRecordsAreRemoved) {
    FrontEndProcess program({"create", COLLECTION, file});
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_FALSE(requestKeys().empty());
    program.interrupt();
    EXPECT_EQ(
        program.finish(),
        (ProgramResult{130, "", "certificatectl: Interrupted before the daemon had answered.\n"}));
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
}

TEST_F(SlowDaemon, TheRequestOfAKilledFrontEndExpires) {
    {
        const FrontEndProcess program({"create", COLLECTION, file});
        ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    } // killed
    const std::vector<std::string> keys = requestKeys();
    EXPECT_EQ(keys.size(), 2U);
    for (const std::string& key : keys) {
        EXPECT_GT(client.command("TTL", key).integer, 0) << key;
    }
}

TEST_F(Errors, AFileThatCannotBeUsedIsNamed) {
    const std::string text = fileWith("hello");
    const std::string array = directory.file("array");
    const std::string empty = directory.file("empty");
    writeFile(array, "[1]");
    writeFile(empty, "\npassword in the second line\n");
    const std::string noCertificate =
        text + ": is not a certificate text.\n"
               "  A certificate text holds a line -----BEGIN CERTIFICATE----- or "
               "-----BEGIN PKCS7-----.\n";
    struct Row {
        std::vector<std::string> command;
        std::string errors;
    };
    const std::vector<Row> rows = {
        {{"create", COLLECTION, text}, noCertificate},
        {{"replace", COLLECTION + "/1", text}, noCertificate},
        {{"create", COLLECTION, "/no/such"}, "/no/such: No such file or directory\n"},
        {{"action", "/x", "--body", array}, array + ": is not a JSON object.\n"},
        {{"generate-csr", COLLECTION, "--cn", "a", "--challenge-password-file", empty},
         empty + ": holds no password in its first line.\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(runFrontEnd(row.command),
                  (ProgramResult{5, "", "certificatectl: " + row.errors}));
    }
}

TEST_F(Errors, AWrongCommandLineHasAnExitCodeOfItsOwn) {
    const std::vector<std::vector<std::string>> commands = {
        {},
        {"nonsense"},
        {"create"},
        {"create", COLLECTION},
        {"create", "no-slash", "file"},
        {"create", "/a b", "file"},
        {"get", "/x", "--nonsense"},
        {"get", "/x", "--timeout", "0"},
        {"get", "/x", "--timeout", "1e300"},
        {"generate-csr", COLLECTION},
        {"generate-csr", COLLECTION, "--cn", "a", "--rsa", "2048", "--curve", "P256"},
        {"generate-csr", COLLECTION, "--cn", "a", "--rsa", "0"},
        {"generate-csr", COLLECTION, "--cn", "a", "--challenge-password", ""},
        {"generate-csr", COLLECTION, "--cn", "a\nb"},
        {"generate-csr", COLLECTION, "--cn", "a", "--san", "\xff"},
        {"watch", "--count", "-1"},
        {"tasks", "-o", "file"},
    };
    for (const auto& command : commands) {
        const ProgramResult result = runFrontEnd(command);
        EXPECT_EQ(result.status, 2) << testing::PrintToString(command);
        EXPECT_EQ(result.output, "") << testing::PrintToString(command);
        EXPECT_THAT(result.errors, StartsWith("certificatectl: "));
    }
}

TEST(WrongCommandLine, IsToldWithTheNearestNameAndTheUsage) {
    struct Row {
        std::vector<std::string> command;
        std::string errors;
    };
    const std::string all = "\n  `certificatectl --help` lists the commands.\n";
    const std::string list = "\n  Usage: certificatectl list [OPTION...] [COLLECTION]\n"
                             "  `certificatectl list --help` tells more.\n";
    const std::vector<Row> rows = {
        {{}, "Name a command." + all},
        {{"creat"}, "There is no command 'creat'. Did you mean `create`?" + all},
        {{"--timeout", "4", "lst", "/x"}, "There is no command 'lst'. Did you mean `list`?" + all},
        {{"non\x1bsense"}, "There is no command 'non\\x1bsense'." + all},
        {{"list", "--expirin", "3"},
         "`list` has no option '--expirin'. Did you mean `--expiring`?" + list},
        {{"list", "--jsn"}, "`list` has no option '--jsn'. Did you mean `--json`?" + list},
        {{"list", "--nonsense"}, "`list` has no option '--nonsense'." + list},
        {{"list", "/a", "/b"}, "`list` does not take '/b'." + list},
        {{"list", "a"},
         "COLLECTION: 'a' is no URI: it must begin with / and hold no blanks" + list},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(runFrontEnd(row.command),
                  (ProgramResult{2, "", "certificatectl: " + row.errors}));
    }
}

// How certificatectl ends when a shell runs it with its standard output redirected so.
std::optional<int> statusWithOutput(const std::string& redirection, const std::string& command) {
    ChildProcessOptions options;
    options.arguments = {"sh", "-c",
                         std::string(FRONT_END_PROGRAM) + " " + command + " " + redirection};
    return ChildProcess(options).waitForExit(WAIT_LIMIT_SECONDS);
}

TEST_F(Errors, AStandardOutputThatTakesNothingHasTheExitCodeOfAFile) {
    startDaemon();
    const std::vector<std::string> commands = {"--help",
                                               "--version",
                                               "list",
                                               "list --json",
                                               "list --expiring 3",
                                               "get /nowhere --json",
                                               "init",
                                               "ping",
                                               "generate-csr --cn a " + COLLECTION};
    for (const std::string& command : commands) {
        EXPECT_EQ(statusWithOutput(">/dev/full", command), 5) << command;
        EXPECT_EQ(statusWithOutput(">&-", command), 5) << command;
        EXPECT_EQ(statusWithOutput(">&- 2>&- <&-", command), 5) << command;
    }
}

TEST_F(Errors, AStandardOutputThatTakesNothingIsNamedOnce) {
    ChildProcessOptions options;
    options.arguments = {FRONT_END_PROGRAM, "get", "/redfish/v1/CertificateService", "--json"};
    options.outputFile = "/dev/full";
    options.errorFile = directory.file("errors");
    EXPECT_EQ(ChildProcess(options).waitForExit(WAIT_LIMIT_SECONDS), 5);
    EXPECT_EQ(readFile(options.errorFile),
              "certificatectl: standard output: No space left on device\n");
}

} // namespace
