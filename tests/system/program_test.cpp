// The daemon's program file: what it exports and links, that a board's own backend takes the place
// of the reference one without a rebuild, and that nothing but its files steers it.

#include "tests/support/child_process.h"
#include "tests/support/temp_files.h"
#include "tests/system/request_road.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <iterator>
#include <sstream>

namespace {

using testing::HasSubstr;

constexpr int START_FAILED = 255;

// Standard output of a program that must succeed.
std::string outputOf(const std::vector<std::string>& arguments) {
    const TempDirectory directory;
    ChildProcessOptions options;
    options.arguments = arguments;
    options.outputFile = directory.file("output");
    ChildProcess process(options);
    EXPECT_EQ(process.waitForExit(60), 0) << arguments.front();
    return readFileIfAny(options.outputFile);
}

TEST(Program, ExportsTheConnectionFunctionsUnderTheirPlainNames) {
    const std::string symbols = outputOf({NM_PROGRAM, "-D", "--defined-only", daemonFile()});
    for (const std::string name :
         {"getRedisConfiguration", "getRedisConnectionInfo", "connectToRedis",
          "redisAuthentication", "redisConnectContext", "redisDisconnectContext"}) {
        EXPECT_THAT(symbols, HasSubstr(" T " + name + "\n"));
    }
}

TEST(Program, LinksTheThreeLibrariesDynamically) {
    const std::string dynamic = outputOf({READELF_PROGRAM, "-d", daemonFile()});
    for (const std::string library : {"libcertificate_backend.so.1",
                                      "libservice_configuration.so.1", "libdata_decryption.so.1"}) {
        EXPECT_THAT(dynamic, HasSubstr(" Shared library: [" + library + "]"));
    }
    // Unlike DT_RPATH this leaves LD_LIBRARY_PATH the first word.
    EXPECT_EQ(dynamic.find("(RPATH)"), std::string::npos) << dynamic;
}

TEST(Program, HoldsNoHandlerOfItsOwn) {
    const std::string symbols = outputOf({NM_PROGRAM, "-D", "-C", daemonFile()});
    for (const std::string handler :
         {"createCertificateHandler(CreateCertRequest const&)",
          "generateCSRHandler(CSRRequest const&)",
          "replaceCertificateHandler(ReplaceCertRequest const&)", "deleteCertificateHandler("}) {
        EXPECT_THAT(symbols, HasSubstr("U " + handler));
    }
}

TEST(Program, ReadsNoCommandLine) {
    std::filesystem::remove("/var/run/redis.port");
    std::filesystem::remove("/usr/local/etc/nginx/CertificateService.conf");
    const TempDirectory directory;
    for (const std::string argument : {"--help", "-v", "/etc/other.conf"}) {
        ChildProcessOptions options;
        options.arguments = {daemonProgram(), argument};
        options.errorFile = directory.file("errors" + argument.substr(1, 2));
        ChildProcess process(options);
        EXPECT_EQ(process.waitForExit(60), START_FAILED);
        EXPECT_EQ(readFile(options.errorFile),
                  "Log filename is not specified. Messages will be written to stderr.\n"
                  "fopen: No such file or directory\n"
                  "[Error]: Failed to connect to Redis.\n");
    }
}

// Each of them is listed, not the first alone.
TEST(Program, PrintsEveryProcessOfTheLogSystemThatItFinds) {
    ChildProcessOptions sleeper;
    sleeper.arguments = {"sleep", "1000"};
    const ChildProcess first(sleeper);
    const ChildProcess second(sleeper);
    DaemonProcess daemon({{{"LOG_SYSTEM", "sleep"}}, "", {}});
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    std::istringstream printed(daemon.standardOutput());
    EXPECT_THAT((std::vector<pid_t>{std::istream_iterator<pid_t>(printed), {}}),
                testing::UnorderedElementsAre(first.pid(), second.pid()));
}

using Backend = RequestRoad;

TEST_F(Backend, OfTheBuildRefusesWhatIsNoCertificate) {
    start({}, "");
    const FrontEndAnswer answer = send(creation());
    EXPECT_TRUE(describeAnswer(answer).starts_with("FAILURE ")) << describeAnswer(answer);
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(Backend, ThatIsFoundFirstTakesEveryCall) {
    storeResource(client, COLLECTION + "/1",
                  R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
    start();
    EXPECT_EQ(describeAnswer(send(creation(1))), "OK");
    EXPECT_EQ(describeAnswer(send(replacement(COLLECTION + "/1", 2))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(signing("", 3))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(deletion(COLLECTION + "/1", 4))), "OK_EMPTY");
    const auto calls = backendCalls();
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_THAT(calls[0], HasSubstr(R"("handler":"create")"));
    EXPECT_THAT(calls[1], HasSubstr(R"("handler":"replace")"));
    EXPECT_THAT(calls[2], HasSubstr(R"("handler":"generateCSR")"));
    EXPECT_THAT(calls[3], HasSubstr(R"("handler":"delete")"));
}

} // namespace
