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
#include <memory>
#include <optional>
#include <ostream>

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

struct Combination {
    const char* name;
    Files files;
    std::string expected; // what describe() gives, then what is printed

    friend void PrintTo(const Combination& row, std::ostream* out) {
        *out << row.name;
    }
};

class ConnectionFiles : public testing::TestWithParam<Combination> {};

TEST_P(ConnectionFiles, give) {
    place(GetParam().files);
    EXPECT_EQ(firstInfo(), GetParam().expected);
}

const Content MISSING = std::nullopt;
const std::string NOTHING = "null\n";

INSTANTIATE_TEST_SUITE_P(
    Port, ConnectionFiles,
    testing::Values(
        // Without a socket only the standard port leads anywhere.
        Combination{"standardPort", {"6379", MISSING, MISSING}, tcp() + NO_FILE + NO_FILE},
        Combination{
            "standardPortWithLineEnd", {"6379\n", MISSING, MISSING}, tcp() + NO_FILE + NO_FILE},
        Combination{"onlyTheFirstLineCounts",
                    {"6379\nrubbish", MISSING, MISSING},
                    tcp() + NO_FILE + NO_FILE},
        Combination{"leadingZeros", {"006379", MISSING, MISSING}, tcp() + NO_FILE + NO_FILE},
        Combination{"otherPort", {"6380", MISSING, MISSING}, NOTHING + NO_FILE},
        Combination{"portOne", {"1", MISSING, MISSING}, NOTHING + NO_FILE},
        Combination{"largestPort", {"9223372036854775807", MISSING, MISSING}, NOTHING + NO_FILE},
        // The port file is needed in every case.
        Combination{"noFileAtAll", {MISSING, MISSING, MISSING}, NOTHING + NO_FILE},
        Combination{"noPortFileButASocket", {MISSING, "/run/r.sock", "secret"}, NOTHING + NO_FILE},
        Combination{"emptyPortFile", {"", "/run/r.sock", MISSING}, NOTHING},
        Combination{"portFileThatBeginsWithNul",
                    {std::string("\0006379", 5), "/run/r.sock", MISSING},
                    NOTHING},
        // Digits and line feeds only.
        Combination{"carriageReturn", {"6379\r\n", MISSING, MISSING}, NOTHING},
        Combination{"carriageReturnAndSocket", {"6379\r", "/run/r.sock", MISSING}, NOTHING},
        Combination{"blankInFront", {" 6379", MISSING, MISSING}, NOTHING},
        Combination{"blankBehind", {"6379 ", "/run/r.sock", MISSING}, NOTHING},
        Combination{"plusSign", {"+6379", MISSING, MISSING}, NOTHING},
        Combination{"negative", {"-1", "/run/r.sock", MISSING}, NOTHING},
        Combination{"letters", {"redis", "/run/r.sock", MISSING}, NOTHING},
        Combination{"hexadecimal", {"0x18eb", MISSING, MISSING}, NOTHING},
        Combination{"decimalPoint", {"6379.0", MISSING, MISSING}, NOTHING},
        Combination{"tooLargeForALong",
                    {"9223372036854775808", "/run/r.sock", MISSING},
                    NOTHING + "strtol: Numerical result out of range\n"},
        Combination{"muchTooLargeForALong",
                    {std::string(1023, '9'), MISSING, MISSING},
                    NOTHING + "strtol: Numerical result out of range\n"},
        // Port 0 means the socket, even when there is none to name.
        Combination{"portZero", {"0", MISSING, MISSING}, unixSocket("") + NO_FILE + NO_FILE},
        Combination{
            "onlyALineEnd", {"\n6379", MISSING, MISSING}, unixSocket("") + NO_FILE + NO_FILE}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Socket, ConnectionFiles,
    testing::Values(
        Combination{
            "withPortZero", {"0", "/run/r.sock", MISSING}, unixSocket("/run/r.sock") + NO_FILE},
        Combination{"isPreferredToTheStandardPort",
                    {"6379", "/run/r.sock", MISSING},
                    unixSocket("/run/r.sock") + NO_FILE},
        Combination{"withAnyOtherPort",
                    {"6380", "/run/r.sock", MISSING},
                    unixSocket("/run/r.sock") + NO_FILE},
        Combination{"withTheLargestPort",
                    {"9223372036854775807", "/run/r.sock", MISSING},
                    unixSocket("/run/r.sock") + NO_FILE},
        Combination{"keepsItsLineEnd",
                    {"0", "/run/r.sock\nmore", MISSING},
                    unixSocket("/run/r.sock\n") + NO_FILE},
        Combination{"keepsItsCarriageReturn",
                    {"0", "/run/r.sock\r", MISSING},
                    unixSocket("/run/r.sock\r") + NO_FILE},
        Combination{"emptyFileIsNoSocket", {"6379", "", MISSING}, tcp() + NO_FILE},
        Combination{"emptyFileAndOtherPort", {"6380", "", MISSING}, NOTHING},
        Combination{"emptyFileAndPortZero", {"0", "", MISSING}, unixSocket("") + NO_FILE},
        Combination{"longestLine",
                    {"0", std::string(1023, 's'), MISSING},
                    unixSocket(std::string(1023, 's')) + NO_FILE},
        Combination{"tooLongLineIsCut",
                    {"0", std::string(1022, 's') + "tu", MISSING},
                    unixSocket(std::string(1022, 's') + "t") + NO_FILE}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Password, ConnectionFiles,
    testing::Values(
        Combination{"overTcp", {"6379", MISSING, "secret"}, tcp("secret") + NO_FILE},
        Combination{
            "overTheSocket", {"0", "/run/r.sock", "secret"}, unixSocket("/run/r.sock", "secret")},
        Combination{"emptyFileIsNone", {"0", "/run/r.sock", ""}, unixSocket("/run/r.sock")},
        Combination{"keepsItsLineEnd",
                    {"0", "/run/r.sock", "secret\n"},
                    unixSocket("/run/r.sock", "secret\n")},
        Combination{"keepsBlanksAndPercentSigns",
                    {"0", "/run/r.sock", " %s %n "},
                    unixSocket("/run/r.sock", " %s %n ")},
        Combination{"longestLine",
                    {"0", "/run/r.sock", std::string(1023, 'p')},
                    unixSocket("/run/r.sock", std::string(1023, 'p'))},
        Combination{"tooLongLineIsCut",
                    {"0", "/run/r.sock", std::string(1022, 'p') + "qr"},
                    unixSocket("/run/r.sock", std::string(1022, 'p') + "q")}),
    [](const auto& row) { return row.param.name; });

// ---- the cache ----

TEST(ConnectionCache, isNeverRefreshed) {
    EXPECT_EQ(inFreshProcess([] {
                  place({"6379", "/run/first.sock", "first"});
                  std::string seen = currentInfo() + "\n";
                  place({"6379", MISSING, "second"});
                  seen += currentInfo() + "\n";
                  place({MISSING, MISSING, MISSING});
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
                  place({"6379", MISSING, MISSING});
                  (void)currentInfo();
                  place({"0", "/run/later.sock", "later"});
                  return currentInfo() + "\n";
              }),
              tcp());
}

TEST(ConnectionCache, isNotFilledByAFailure) {
    EXPECT_EQ(inFreshProcess([] {
                  place({"6380", MISSING, MISSING});
                  std::string seen = currentInfo() + "\n";
                  place({"6379", MISSING, MISSING});
                  return seen + currentInfo() + "\n";
              }),
              NOTHING + tcp());
}

TEST(ConnectionCache, givesEveryCallerARecordOfItsOwn) {
    EXPECT_EQ(inFreshProcess([] {
                  place({"6379", MISSING, "secret"});
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

TEST_F(RedisConfiguration, isTheFirstLineOfTheSettingsFile) {
    writeFile(SETTING_FILE, "100mb\nsecond line\n");
    EXPECT_EQ(configuration("maxmemory"), "<100mb\n>\n");
}

TEST_F(RedisConfiguration, ofALineWithoutAnEndIsTheWholeLine) {
    writeFile(SETTING_FILE, "100mb");
    EXPECT_EQ(configuration("maxmemory"), "<100mb>\n");
}

TEST_F(RedisConfiguration, isCutAfter1023Characters) {
    writeFile(SETTING_FILE, std::string(1023, 'm') + "n");
    EXPECT_EQ(configuration("maxmemory"), "<" + std::string(1023, 'm') + ">\n");
}

TEST_F(RedisConfiguration, isABufferOf1024Bytes) {
    writeFile(SETTING_FILE, "1");
    const Text text(getRedisConfiguration("maxmemory"));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text.get(), 1024), "1" + std::string(1023, '\0'));
}

TEST_F(RedisConfiguration, ofAnEmptyFileIsNull) {
    writeFile(SETTING_FILE, "");
    EXPECT_EQ(configuration("maxmemory"), "null\n");
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

TEST_F(RedisConfiguration, ofTheLongestNameIsLookedFor) {
    const std::string name(1015, 'n');
    EXPECT_EQ(configuration(name.c_str()), "null\nfopen: File name too long\n");
}

TEST_F(RedisConfiguration, ofATooLongNameIsNotLookedFor) {
    const std::string name(1016, 'n');
    EXPECT_EQ(configuration(name.c_str()), "null\n");
}

TEST_F(RedisConfiguration, ofAnEmptyNameIsTheFileOfThePrefix) {
    writeFile("/var/run/redis.", "value");
    EXPECT_EQ(configuration(""), "<value>\n");
    std::filesystem::remove("/var/run/redis.");
}

} // namespace
