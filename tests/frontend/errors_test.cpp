// What ends a command early: exit status, words and hint.

#include "tests/frontend/front_end_program.h"
#include "tests/support/certificates.h"
#include "tests/support/fake_backend.h"
#include "tests/support/wait.h"

#include <filesystem>

namespace {

using nlohmann::json;
using Errors = FrontEndTest;

const std::string REPLACE_ACTION =
    "/redfish/v1/CertificateService/Actions/CertificateService.ReplaceCertificate";

TEST(WithoutRedis, ACommandNamesTheMissingConnectionFile) {
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

TEST(WithoutRedis, ACommandSaysThatTheServerDoesNotAnswer) {
    writeFile("/run/redis.port", "0");
    writeFile("/run/redis.unixsocket", "/run/none.sock");
    const ProgramResult result = runFrontEnd({"init"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "certificatectl: Redis is not there: the server that the files /var/run/redis.* name "
              "does not answer or refuses the password.\n"
              "  Look whether redis-server runs, and on which socket.\n");
}

TEST(WithAPassword, TheServerIsReachedByTheConnectionFiles) {
    RedisServerOptions options;
    options.password = "secret";
    const RedisServer server(options);
    writeConnectionFiles(server);
    EXPECT_EQ(runFrontEnd({"init"}).status, 0);
    std::filesystem::remove("/run/redis.requirepass");
    const ProgramResult refused = runFrontEnd({"init"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.errors,
              "certificatectl: Redis refuses a command: NOAUTH Authentication required.\n");
}

TEST_F(Errors, TellThatTheDaemonDoesNotListen) {
    const std::string file = fileWith(makeSelfSigned().certificate);
    const std::vector<std::vector<std::string>> commands = {
        {"create", COLLECTION, file},      {"replace", COLLECTION + "/1", file},
        {"delete", COLLECTION + "/1"},     {"generate-csr", COLLECTION, "--cn", "a"},
        {"action", "/redfish/v1/Nothing"},
    };
    const std::string before = client.dumpAll();
    for (const auto& command : commands) {
        const ProgramResult result = runFrontEnd(command);
        EXPECT_EQ(result.status, 4) << command[0];
        EXPECT_EQ(result.output, "") << command[0];
        EXPECT_EQ(result.errors.rfind("certificatectl: The daemon does not listen: the request on "
                                      "channel &&/redfish/v1/CertificateService/",
                                      0),
                  0U)
            << result.errors;
        EXPECT_NE(result.errors.find(" reached nobody.\n  Start CertificateService on this Redis, "
                                     "or look into its log why it has ended.\n"),
                  std::string::npos)
            << result.errors;
        EXPECT_EQ(requestKeys(), std::vector<std::string>{}) << command[0];
        EXPECT_EQ(runFrontEnd({"tasks"}).output, "") << command[0];
    }
}

TEST_F(Errors, TellThatTheDaemonHasEndedMeanwhile) {
    startDaemon();
    // Without the members that it needs the request ends the daemon.
    const std::string body = fileWith(R"({"Other": "x"})");
    const ProgramResult result =
        runFrontEnd({"action", REPLACE_ACTION, "--body", body, "--timeout", "50"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.errors,
              "certificatectl: The daemon stopped listening while the request was under way.\n"
              "  Its log or its exit status tells why; the request may have ended it.\n");
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
}

TEST_F(Errors, TellThatNoAnswerCameInTime) {
    startSteerableDaemon();
    setBackendAnswers(R"({"create": {"waitForFile": "/tmp/go-on"}})");
    const ProgramResult result = runFrontEnd({"create", COLLECTION, "--timeout", "1.5",
                                              fileWith(makeSelfSigned().certificate), "--json"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.errors,
              "certificatectl: The daemon listens, but gave no answer within 1.5 seconds.\n"
              "  It may be busy with other requests: try again with a longer --timeout. Its log "
              "says what it does.\n");
    EXPECT_EQ(result.json()["exitCode"], 4);
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
    writeFile("/tmp/go-on", "");
}

TEST_F(Errors, AreNoneWhenCtrlCEndsTheWaitButRecordsAreRemoved) {
    startSteerableDaemon();
    setBackendAnswers(R"({"create": {"waitForFile": "/tmp/go-on"}})");
    FrontEndProcess program({"create", COLLECTION, fileWith(makeSelfSigned().certificate)});
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_FALSE(requestKeys().empty());
    program.interrupt();
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.errors, "certificatectl: Interrupted before the daemon had answered.\n");
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
    writeFile("/tmp/go-on", "");
}

TEST_F(Errors, LetARequestExpireWhoseFrontEndWasKilled) {
    startSteerableDaemon();
    setBackendAnswers(R"({"create": {"waitForFile": "/tmp/go-on"}})");
    {
        const FrontEndProcess program(
            {"create", COLLECTION, fileWith(makeSelfSigned().certificate)});
        ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    } // killed
    const std::vector<std::string> keys = requestKeys();
    EXPECT_EQ(keys.size(), 2U);
    for (const std::string& key : keys) {
        EXPECT_GT(client.command("TTL", key).integer, 0) << key;
    }
    writeFile("/tmp/go-on", "");
}

TEST_F(Errors, TellOfAFileThatIsNoCertificate) {
    startDaemon();
    const std::vector<std::string> commands = {"create", "replace"};
    for (const std::string& command : commands) {
        const std::string file = fileWith("hello");
        const ProgramResult result = runFrontEnd({command, COLLECTION + "/1", file});
        EXPECT_EQ(result.status, 5);
        EXPECT_EQ(result.errors,
                  "certificatectl: " + file +
                      ": is not a certificate text.\n"
                      "  A certificate text holds a line -----BEGIN CERTIFICATE----- or "
                      "-----BEGIN PKCS7-----.\n");
        EXPECT_EQ(runFrontEnd({command, COLLECTION + "/1", "/no/such/file"}).status, 5);
    }
}

TEST_F(Errors, TellOfABodyThatIsNoJsonObject) {
    const std::string file = fileWith("[1]");
    const ProgramResult result = runFrontEnd({"action", "/x", "--body", file});
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.errors, "certificatectl: " + file + ": is not a JSON object.\n");
}

TEST_F(Errors, InTheCommandLineHaveAStatusOfTheirOwn) {
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
        EXPECT_EQ(result.errors.rfind("certificatectl: ", 0), 0U) << result.errors;
    }
}

TEST(Help, IsThereForEveryCommand) {
    const ProgramResult all = runFrontEnd({"--help"});
    EXPECT_EQ(all.status, 0);
    for (const char* command : {"init", "get", "create", "delete", "replace", "generate-csr",
                                "action", "tasks", "watch"}) {
        EXPECT_NE(all.output.find("\n  " + std::string(command) + " "), std::string::npos);
        const ProgramResult one = runFrontEnd({command, "--help"});
        EXPECT_EQ(one.status, 0) << command;
        EXPECT_NE(one.output.find("Usage: certificatectl " + std::string(command)),
                  std::string::npos)
            << one.output;
    }
    for (const char* status : {"  1    ", "  2    ", "  3    ", "  4    ", "  5    ", "  130  "}) {
        EXPECT_NE(all.output.find(status), std::string::npos) << status;
    }
}

} // namespace
