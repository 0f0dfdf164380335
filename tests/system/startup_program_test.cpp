// The daemon's program file: what it exports, and that nothing but its files steers it.

#include "tests/support/child_process.h"
#include "tests/support/daemon_process.h"
#include "tests/support/temp_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <sstream>

namespace {

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

TEST(Program, exportsTheConnectionFunctionsUnderTheirPlainNames) {
    std::vector<std::string> exported;
    for (const auto& line : splitLines(outputOf({"nm", "-D", "--defined-only", daemonProgram()}))) {
        const auto type = line.find(" T ");
        if (type != std::string::npos) {
            exported.push_back(line.substr(type + 3));
        }
    }
    for (const char* name :
         {"getRedisConfiguration", "getRedisConnectionInfo", "connectToRedis",
          "redisAuthentication", "redisConnectContext", "redisDisconnectContext"}) {
        EXPECT_THAT(exported, testing::Contains(name));
    }
}

TEST(Program, readsNoCommandLine) {
    std::filesystem::remove("/var/run/redis.port");
    const TempDirectory directory;
    for (const std::string argument : {"--help", "-v", "/etc/other.conf"}) {
        ChildProcessOptions options;
        options.arguments = {daemonProgram(), argument};
        options.errorFile = directory.file("errors" + argument.substr(1, 2));
        ChildProcess process(options);
        EXPECT_EQ(process.waitForExit(60), 255);
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
    EXPECT_EQ(daemon.waitForExit(), 255);
    std::istringstream printed(daemon.standardOutput());
    EXPECT_THAT((std::vector<pid_t>{std::istream_iterator<pid_t>(printed), {}}),
                testing::UnorderedElementsAre(first.pid(), second.pid()));
}

} // namespace
