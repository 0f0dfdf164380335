// How the small files in /var/run are read: which combinations lead to a server, which do not, and
// what is told on standard error. Every case runs in a fresh process, because the first success is
// kept for the life of the process.

#include "core/redis_connection.h"
#include "tests/core/fresh_process.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>

namespace {

const std::string PORT_FILE = "/var/run/redis.port";
const std::string SOCKET_FILE = "/var/run/redis.unixsocket";
const std::string PASSWORD_FILE = "/var/run/redis.requirepass";

const std::string NO_FILE = "fopen: No such file or directory\n";

struct Release {
    void operator()(void* memory) const {
        std::free(memory); // NOLINT(cppcoreguidelines-no-malloc): C interface
    }
};
using Text = std::unique_ptr<char, Release>;
using Info = std::unique_ptr<RedisConnectionInfo, Release>;

// A file that is not there when it is empty of an optional.
using Content = std::optional<std::string>;

struct Files {
    Content port;
    Content socket;
    Content password;
};

void place(const std::string& path, const Content& content) {
    if (content) {
        writeFile(path, *content);
    } else {
        std::filesystem::remove_all(path);
    }
}

void place(const Files& files) {
    place(PORT_FILE, files.port);
    place(SOCKET_FILE, files.socket);
    place(PASSWORD_FILE, files.password);
}

std::string describe(const RedisConnectionInfo* info) {
    if (info == nullptr) {
        return "null";
    }
    std::string text = "type " + std::to_string(info->type);
    text += ", port " + std::to_string(info->port);
    text += ", socket <" + std::string(info->socketPath) + ">";
    text += ", password <" + std::string(info->password) + ">";
    text += info->host == nullptr ? ", no host" : ", host " + std::string(info->host);
    return text;
}

std::string currentInfo() {
    const Info info(getRedisConnectionInfo());
    return describe(info.get());
}

// What one call in a fresh process gives and prints.
std::string firstInfo() {
    return inFreshProcess([] {
        const OutputCapture errors(STDERR_FILENO);
        const std::string info = currentInfo();
        return info + "\n" + errors.text();
    });
}

std::string tcp(const std::string& password = "") {
    return "type 2, port 6379, socket <>, password <" + password + ">, no host\n";
}

std::string unixSocket(const std::string& path, const std::string& password = "") {
    return "type 1, port 0, socket <" + path + ">, password <" + password + ">, no host\n";
}

// ---- getRedisConnectionInfo: one row for each combination ----

const Content NONE = std::nullopt;
const std::string NOTHING = "null\n";
const std::string OUT_OF_RANGE = "null\nstrtol: Numerical result out of range\n";
const std::string SOCKET = "/run/r.sock";
const std::string ONE_MISSING = NO_FILE;
const std::string TWO_MISSING = NO_FILE + NO_FILE;

struct Combination {
    Files files;
    std::string expected; // what describe() gives, then what is printed
};

void expectEach(const std::vector<Combination>& rows) {
    for (const auto& [files, expected] : rows) {
        place(files);
        EXPECT_EQ(firstInfo(), expected)
            << "port " << files.port.value_or("-") << ", socket " << files.socket.value_or("-")
            << ", password " << files.password.value_or("-");
    }
}

TEST(ConnectionFiles, leadToThePortOnlyWhenItIsTheStandardPort) {
    expectEach({
        {{"6379", NONE, NONE}, tcp() + TWO_MISSING},
        {{"6379\n", NONE, NONE}, tcp() + TWO_MISSING},
        {{"6379\nrubbish", NONE, NONE}, tcp() + TWO_MISSING},
        {{"006379", NONE, NONE}, tcp() + TWO_MISSING},
        {{"6380", NONE, NONE}, NOTHING + ONE_MISSING},
        {{"1", NONE, NONE}, NOTHING + ONE_MISSING},
        {{"9223372036854775807", NONE, NONE}, NOTHING + ONE_MISSING},
    });
}

TEST(ConnectionFiles, leadNowhereWithoutAPort) {
    expectEach({
        {{NONE, NONE, NONE}, NOTHING + ONE_MISSING},
        {{NONE, SOCKET, "secret"}, NOTHING + ONE_MISSING},
        {{"", SOCKET, NONE}, NOTHING},
        {{std::string("\0006379", 5), SOCKET, NONE}, NOTHING},
    });
}

TEST(ConnectionFiles, leadNowhereWithAPortOfOtherThanDigitsAndLineFeeds) {
    expectEach({
        {{"6379\r\n", NONE, NONE}, NOTHING},
        {{"6379\r", SOCKET, NONE}, NOTHING},
        {{" 6379", NONE, NONE}, NOTHING},
        {{"6379 ", SOCKET, NONE}, NOTHING},
        {{"+6379", NONE, NONE}, NOTHING},
        {{"-1", SOCKET, NONE}, NOTHING},
        {{"redis", SOCKET, NONE}, NOTHING},
        {{"0x18eb", NONE, NONE}, NOTHING},
        {{"6379.0", NONE, NONE}, NOTHING},
        {{"9223372036854775808", SOCKET, NONE}, OUT_OF_RANGE},
        {{std::string(1023, '9'), NONE, NONE}, OUT_OF_RANGE},
    });
}

TEST(ConnectionFiles, leadToTheSocketWithPortZeroOrASocketFile) {
    expectEach({
        {{"0", NONE, NONE}, unixSocket("") + TWO_MISSING},
        {{"\n6379", NONE, NONE}, unixSocket("") + TWO_MISSING},
        {{"0", SOCKET, NONE}, unixSocket(SOCKET) + ONE_MISSING},
        {{"6379", SOCKET, NONE}, unixSocket(SOCKET) + ONE_MISSING},
        {{"6380", SOCKET, NONE}, unixSocket(SOCKET) + ONE_MISSING},
        {{"9223372036854775807", SOCKET, NONE}, unixSocket(SOCKET) + ONE_MISSING},
        {{"0", "/run/r.sock\nmore", NONE}, unixSocket("/run/r.sock\n") + ONE_MISSING},
        {{"0", "/run/r.sock\r", NONE}, unixSocket("/run/r.sock\r") + ONE_MISSING},
        {{"6379", "", NONE}, tcp() + ONE_MISSING},
        {{"6380", "", NONE}, NOTHING},
        {{"0", "", NONE}, unixSocket("") + ONE_MISSING},
        {{"0", std::string(1023, 's'), NONE}, unixSocket(std::string(1023, 's')) + ONE_MISSING},
        {{"0", std::string(1022, 's') + "tu", NONE},
         unixSocket(std::string(1022, 's') + "t") + ONE_MISSING},
    });
}

TEST(ConnectionFiles, giveThePasswordAsItStands) {
    expectEach({
        {{"6379", NONE, "secret"}, tcp("secret") + ONE_MISSING},
        {{"0", SOCKET, "secret"}, unixSocket(SOCKET, "secret")},
        {{"0", SOCKET, ""}, unixSocket(SOCKET)},
        {{"0", SOCKET, "secret\n"}, unixSocket(SOCKET, "secret\n")},
        {{"0", SOCKET, " %s %n "}, unixSocket(SOCKET, " %s %n ")},
        {{"0", SOCKET, std::string(1023, 'p')}, unixSocket(SOCKET, std::string(1023, 'p'))},
        {{"0", SOCKET, std::string(1022, 'p') + "qr"},
         unixSocket(SOCKET, std::string(1022, 'p') + "q")},
    });
}

// ---- the cache ----

TEST(ConnectionCache, isNeverRefreshed) {
    EXPECT_EQ(inFreshProcess([] {
                  place({"6379", "/run/first.sock", "first"});
                  std::string seen = currentInfo() + "\n";
                  place({"6379", NONE, "second"});
                  seen += currentInfo() + "\n";
                  place({NONE, NONE, NONE});
                  const OutputCapture errors(STDERR_FILENO);
                  return seen + currentInfo() + "\n" + errors.text();
              }),
              unixSocket("/run/first.sock", "first") + unixSocket("/run/first.sock", "first") +
                  unixSocket("/run/first.sock", "first"));
}

TEST(ConnectionCache, keepsALongSocketPathAndPassword) {
    const std::string path(1023, 's');
    const std::string password(1023, 'p');
    EXPECT_EQ(inFreshProcess([&] {
                  place({"0", path, password});
                  return currentInfo() + "\n" + currentInfo() + "\n";
              }),
              unixSocket(path, password) + unixSocket(path, password));
}

TEST(ConnectionCache, keepsATcpPort) {
    EXPECT_EQ(inFreshProcess([] {
                  place({"6379", NONE, NONE});
                  (void)currentInfo();
                  place({"0", "/run/later.sock", "later"});
                  return currentInfo() + "\n";
              }),
              tcp());
}

TEST(ConnectionCache, isNotFilledByAFailure) {
    EXPECT_EQ(inFreshProcess([] {
                  place({"6380", NONE, NONE});
                  std::string seen = currentInfo() + "\n";
                  place({"6379", NONE, NONE});
                  return seen + currentInfo() + "\n";
              }),
              NOTHING + tcp());
}

TEST(ConnectionCache, givesEveryCallerARecordOfItsOwn) {
    EXPECT_EQ(inFreshProcess([] {
                  place({"6379", NONE, "secret"});
                  const Info first(getRedisConnectionInfo());
                  const Info second(getRedisConnectionInfo());
                  first->type = 7;
                  first->password[0] = 'S';
                  second->host = "10.0.0.1";
                  second->port = 1;
                  return currentInfo() + "\n";
              }),
              tcp("secret"));
}

// ---- getRedisConfiguration ----

const std::string SETTING_FILE = "/var/run/redis.maxmemory";

class RedisConfiguration : public testing::Test {
protected:
    void TearDown() override {
        std::filesystem::remove_all(SETTING_FILE);
    }
};

// The text in angle brackets or "null", then what is printed.
std::string configuration(const char* name) {
    const OutputCapture errors(STDERR_FILENO);
    const Text text(getRedisConfiguration(name));
    const std::string shown = text ? "<" + std::string(text.get()) + ">" : "null";
    return shown + "\n" + errors.text();
}

TEST_F(RedisConfiguration, isTheFirstLineOfTheFileUpTo1023Characters) {
    const std::string longest(1023, 'm');
    const std::map<std::string, std::string> rows = {
        {"100mb\nsecond line\n", "<100mb\n>\n"},
        {"100mb", "<100mb>\n"},
        {longest + "n", "<" + longest + ">\n"},
        {"", "null\n"},
    };
    for (const auto& [content, expected] : rows) {
        writeFile(SETTING_FILE, content);
        EXPECT_EQ(configuration("maxmemory"), expected);
    }
}

TEST_F(RedisConfiguration, isABufferOf1024Bytes) {
    writeFile(SETTING_FILE, "1");
    const Text text(getRedisConfiguration("maxmemory"));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text.get(), 1024), "1" + std::string(1023, '\0'));
}

TEST_F(RedisConfiguration, ofAMissingFileIsNullAndTold) {
    EXPECT_EQ(configuration("maxmemory"), "null\n" + NO_FILE);
}

TEST_F(RedisConfiguration, ofAFolderIsNull) {
    std::filesystem::create_directory(SETTING_FILE);
    EXPECT_EQ(configuration("maxmemory"), "null\n");
}

TEST_F(RedisConfiguration, withoutANameIsNull) {
    EXPECT_EQ(configuration(nullptr), "null\n");
}

TEST_F(RedisConfiguration, isLookedForUnderNamesOfUpTo1015Characters) {
    EXPECT_EQ(configuration(std::string(1015, 'n').c_str()), "null\nfopen: File name too long\n");
    EXPECT_EQ(configuration(std::string(1016, 'n').c_str()), "null\n");
}

TEST_F(RedisConfiguration, ofAnEmptyNameIsTheFileOfThePrefix) {
    writeFile("/var/run/redis.", "value");
    EXPECT_EQ(configuration(""), "<value>\n");
    std::filesystem::remove("/var/run/redis.");
}

} // namespace
