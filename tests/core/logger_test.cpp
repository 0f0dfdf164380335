// The log in each of its modes: where lines go, how they look, and when the file is renamed aside.

#include "core/logger.h"
#include "tests/support/child_process.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <regex>
#include <thread>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr std::time_t NOON = 1731577515;
const std::string ASIDE = "x.log1731577515";

const std::string NO_FILE_NAMED =
    "Log filename is not specified. Messages will be written to stderr.\n";
const std::vector<std::string> BOTH_LINES = {"[Error]: failure 7 of 100%", "[Debug]: news %s"};
const std::string BOTH_ON_STANDARD_ERROR = "[Error]: failure 7 of 100%\n[Debug]: news %s\n";

std::string formatLocalTime(std::time_t time) {
    std::tm local{};
    tzset();
    localtime_r(&time, &local);
    char text[64] = "";
    (void)std::strftime(text, sizeof text, "%b %e %T", &local);
    return text;
}

// The line from its label on; a text that matches nothing when the times in front are not right.
std::string withoutCheckedTime(const std::string& line) {
    static const std::regex form(
        "([A-Z][a-z][a-z] [ 1-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2}) ([0-9]{10,}) (\\[.*)");
    std::smatch parts;
    if (!std::regex_match(line, parts, form)) {
        return "no log line: " + line;
    }
    const bool sameInstant = parts[1] == formatLocalTime(std::stol(parts[2]));
    return sameInstant ? parts[3].str() : "not the same instant: " + line;
}

class Log : public testing::Test {
protected:
    std::string file(const std::string& name) const {
        return mDirectory.file(name);
    }

    // Initialises the logger from these lines and gives what it prints meanwhile. "@" stands for
    // the test's folder.
    std::string init(const std::string& configuration) {
        const std::regex folder("@");
        writeFile(file("configuration"),
                  std::regex_replace(configuration, folder, mDirectory.path()));
        const OutputCapture errors(STDERR_FILENO);
        mLogger.init(file("configuration"));
        return errors.text();
    }

    // Writes one line of each level and gives what comes on standard error.
    std::string writeBoth() {
        const OutputCapture errors(STDERR_FILENO);
        mLogger.error("failure %d of %s", 7, "100%");
        mLogger.debug("news %s", "%s");
        return errors.text();
    }

    std::vector<std::string> rawLines(const std::string& name = "x.log") const {
        return splitLines(readFile(file(name)));
    }

    // The file's lines without their times, each of which is looked at.
    std::vector<std::string> logLines(const std::string& name = "x.log") const {
        std::vector<std::string> lines;
        for (const auto& line : rawLines(name)) {
            lines.push_back(withoutCheckedTime(line));
        }
        return lines;
    }

    // Whether a file of so many bytes is renamed aside.
    bool isRenamed(std::size_t size) {
        writeFile(file("x.log"), std::string(size, '.'));
        mLogger.rotateIfNeeded(NOON);
        return std::filesystem::remove(file(ASIDE));
    }

    TempDirectory mDirectory;
    Logger mLogger;
};

// ---- without a file ----

TEST_F(Log, goesToStandardErrorBeforeInit) {
    EXPECT_FALSE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
}

TEST_F(Log, goesToStandardErrorWithoutAFileThatCanBeMade) {
    const struct {
        const char* configuration;
        std::string printed;
    } rows[] = {
        {"OTHER=1\n", NO_FILE_NAMED},
        {"LOG_FILE=\n", NO_FILE_NAMED},
        {"LOG_FILE=@/missing/x.log\n", "Failed to create the log filename - " + file("missing") +
                                           "/x.log Messages will be written to stderr.\n"},
    };
    for (const auto& [configuration, printed] : rows) {
        EXPECT_EQ(init(configuration), printed);
        EXPECT_FALSE(mLogger.isFileMode()) << configuration;
        EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR) << configuration;
    }
}

TEST_F(Log, goesToStandardErrorWithAFileNameThatDoesNotFit) {
    EXPECT_THAT(init("LOG_FILE=@" + std::string(128, 'x') + "\n"), EndsWith("\n" + NO_FILE_NAMED));
    EXPECT_FALSE(mLogger.isFileMode());
}

TEST_F(Log, goesToStandardErrorWithoutAConfigurationFile) {
    const OutputCapture errors(STDERR_FILENO);
    mLogger.init(file("missing"));
    EXPECT_EQ(errors.text(), NO_FILE_NAMED);
    EXPECT_FALSE(mLogger.isFileMode());
}

// ---- to a file ----

TEST_F(Log, goesToAnEmptiedFileInTimedLines) {
    writeFile(file("x.log"), "of before\n");
    EXPECT_EQ(init("LOG_FILE=@/x.log\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
    EXPECT_EQ(readFile(file("x.log")), "");
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines(), BOTH_LINES);
}

TEST_F(Log, followsATimeZoneThatIsSetLater) {
    // NOLINTBEGIN(concurrency-mt-unsafe): one thread
    for (const char* zone : {"UTC", "TST-5:30"}) { // nobody but the logger is to notice the change
        setenv("TZ", zone, 1);
        (void)init("LOG_FILE=@/x.log\n");
        (void)writeBoth();
    }
    EXPECT_EQ(logLines(), BOTH_LINES);
    setenv("TZ", "UTC", 1);
    EXPECT_THAT(logLines(), Each(StartsWith("not the same instant")));
    unsetenv("TZ");
    // NOLINTEND(concurrency-mt-unsafe)
}

TEST_F(Log, goesToStandardErrorWhileTheFileCannotBeOpened) {
    std::filesystem::create_directory(file("folder"));
    EXPECT_EQ(init("LOG_FILE=@/folder/x.log\n"), "");
    std::filesystem::remove_all(file("folder"));
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
    EXPECT_TRUE(mLogger.isFileMode());
    std::filesystem::create_directory(file("folder"));
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines("folder/x.log"), BOTH_LINES);
}

// Each line is longer than the blocks in which a stream writes.
TEST_F(Log, keepsLinesOfDifferentThreadsApart) {
    (void)init("LOG_FILE=@/x.log\n");
    const auto writeLines = [&](char letter) {
        for (int i = 0; i < 50; ++i) {
            mLogger.error("%s", std::string(20'000, letter).c_str());
        }
    };
    {
        const std::jthread first(writeLines, 'a');
        const std::jthread second(writeLines, 'b');
    }
    const auto lines = rawLines();
    EXPECT_EQ(lines.size(), 100U);
    for (const auto& line : lines) {
        EXPECT_EQ(line.substr(line.find('[')), "[Error]: " + std::string(20'000, line.back()));
    }
}

// ---- what a line holds ----

TEST_F(Log, keepsTheLineFeedThatEndsAFormat) {
    (void)init("LOG_FILE=@/x.log\n");
    mLogger.error("%s", "");
    mLogger.error("with one of its own\n");
    const auto lines = rawLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(withoutCheckedTime(lines[0]), "[Error]: ");
    EXPECT_EQ(withoutCheckedTime(lines[1]), "[Error]: with one of its own");
    EXPECT_EQ(lines[2], "");
}

TEST_F(Log, letsNoDataBeginALine) {
    const char* const data = "a\n[Error]: b\r\t\v\f\x1b[1G\x7f\n";
    const OutputCapture errors(STDERR_FILENO);
    mLogger.error("%s", data);
    mLogger.error("%c%s\n", '\0', data);
    EXPECT_EQ(errors.text(), "[Error]: a?[Error]: b?????[1G??\n"
                             "[Error]: ?a?[Error]: b?????[1G??\n\n");
}

TEST_F(Log, keepsEveryOtherByteOfALine) {
    const std::string data = "\xc3\xa4 \xff\x80 %s \\n";
    const OutputCapture errors(STDERR_FILENO);
    mLogger.debug("%s", data.c_str());
    EXPECT_EQ(errors.text(), "[Debug]: " + data + "\n");
}

// ---- LOG_FILE_BAK ----

TEST_F(Log, renamesThePreviousFileToTheBackupAtStart) {
    writeFile(file("x.log"), "of before\n");
    writeFile(file("x.bak"), "of long before\n");
    EXPECT_EQ(init("LOG_FILE=@/x.log\nLOG_FILE_BAK=@/x.bak\n"), "");
    EXPECT_EQ(readFile(file("x.log")), "");
    EXPECT_EQ(readFile(file("x.bak")), "of before\n");
}

TEST_F(Log, startsWithoutAPreviousFileToRename) {
    EXPECT_EQ(init("LOG_FILE=@/x.log\nLOG_FILE_BAK=@/x.bak\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
    EXPECT_FALSE(fileExists(file("x.bak")));
}

TEST_F(Log, ignoresABackupThatCannotBeMade) {
    writeFile(file("x.log"), "of before\n");
    EXPECT_EQ(init("LOG_FILE=@/x.log\nLOG_FILE_BAK=@/missing/x.bak\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
    EXPECT_EQ(readFile(file("x.log")), "");
}

TEST_F(Log, renamesNothingForABackupWithoutALogFile) {
    EXPECT_EQ(init("LOG_FILE_BAK=@/x.bak\n"), NO_FILE_NAMED);
    EXPECT_FALSE(fileExists(file("x.bak")));
}

// ---- LOG_LEVEL ----

TEST_F(Log, ofLevelErrorDropsDebugLines) {
    (void)init("LOG_FILE=@/x.log\nLOG_LEVEL=error\n");
    EXPECT_EQ(writeBoth(), "");
    EXPECT_THAT(logLines(), ElementsAre("[Error]: failure 7 of 100%"));
    (void)init("LOG_LEVEL=error\n");
    const OutputCapture errors(STDERR_FILENO);
    mLogger.debug("news");
    mLogger.error("failure");
    logDebugText(&mLogger, "news");
    logErrorText(&mLogger, "failure");
    EXPECT_EQ(errors.text(), "[Error]: failure\n[Error]: failure\n");
}

TEST_F(Log, ofAnyOtherLevelKeepsDebugLines) {
    for (const std::string level : {"ERROR", "Error", "errors", "debug", "0", ""}) {
        EXPECT_EQ(init("LOG_LEVEL=" + level + "\n"), NO_FILE_NAMED);
        EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR) << level;
    }
}

// ---- LOG_SYSTEM ----

TEST_F(Log, isLeftToALogSystemThatRuns) {
    ChildProcessOptions options;
    options.arguments = {"sleep", "600"};
    const ChildProcess logSystem(options);
    const OutputCapture output(STDOUT_FILENO); // takes the process number that the search prints
    writeFile(file("x.log"), "of before\n");
    EXPECT_EQ(init("LOG_SYSTEM=sleep\nLOG_FILE=@/x.log\nLOG_FILE_BAK=@/x.bak\nLOG_FILE_SIZE=abc\n"
                   "LOG_LEVEL=error\n"),
              "sleep is found. Messages will be written to stderr.\n");
    EXPECT_FALSE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
    EXPECT_EQ(readFile(file("x.log")), "of before\n");
    EXPECT_FALSE(fileExists(file("x.bak")));
}

TEST_F(Log, goesToTheFileWhenTheLogSystemDoesNotRun) {
    EXPECT_EQ(init("LOG_SYSTEM=no_such_log_system\nLOG_FILE=@/x.log\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
}

// The name is the rest of a command: without one the search is a command of its own and fails.
TEST_F(Log, searchesForALogSystemOfAnEmptyNameToo) {
    writeFile(file("pidof"), "#!/bin/sh\n[ $# = 0 ] && echo searched >&2\n");
    std::filesystem::permissions(file("pidof"), std::filesystem::perms::owner_all);
    const std::string path = getenv("PATH");      // NOLINT(concurrency-mt-unsafe): one thread
    setenv("PATH", mDirectory.path().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    EXPECT_EQ(init("LOG_SYSTEM=\nLOG_FILE=@/x.log\n"),
              "searched\n is found. Messages will be written to stderr.\n");
    setenv("PATH", path.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    (void)init("LOG_SYSTEM=\nLOG_FILE=@/x.log\n");
    EXPECT_TRUE(mLogger.isFileMode());
}

// ---- LOG_FILE_SIZE ----

TEST_F(Log, takesTheLimitAsAnIntegerAndIsRenamedWhenItReachesIt) {
    const struct {
        const char* value;
        const char* printed;
        std::size_t limit; // 0: never renamed
    } rows[] = {
        {"100", "", 100},
        {"1", "", 1},
        {"100kb", "", 100},
        {"100.9", "", 100},
        {"+100", "", 100},
        {"0100", "", 100},
        {"0", "", 0},
        {"-5", "", 0},
        {"", "", 0},
        {"abc", "Error: stoi\n", 0},
        {"kb100", "Error: stoi\n", 0},
        {"-", "Error: stoi\n", 0},
        {"2147483647", "", 2147483647},
        {"2147483648", "Error: stoi\n", 0},
        {"-2147483649", "Error: stoi\n", 0},
        {"99999999999999999999", "Error: stoi\n", 0},
    };
    (void)init("LOG_FILE=@/x.log\n");
    EXPECT_FALSE(isRenamed(1'000'000));
    for (const auto& [value, printed, limit] : rows) {
        SCOPED_TRACE(value);
        EXPECT_EQ(init("LOG_FILE=@/x.log\nLOG_FILE_SIZE=" + std::string(value) + "\n"), printed);
        if (limit == 0 || limit > 1'000'000) {
            EXPECT_FALSE(isRenamed(0));
            EXPECT_FALSE(isRenamed(1'000'000));
            continue;
        }
        EXPECT_FALSE(isRenamed(limit - 1));
        EXPECT_TRUE(isRenamed(limit));
        EXPECT_TRUE(isRenamed(limit + 1));
    }
}

TEST_F(Log, isRenamedBeforeTheNextLine) {
    (void)init("LOG_FILE=@/x.log\nLOG_FILE_BAK=@/x.bak\nLOG_FILE_SIZE=100\n");
    const std::string full(100, '.');
    writeFile(file("x.log"), full);
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines(), BOTH_LINES);
    const auto names = listDirectory(mDirectory.path()); // no x.bak
    ASSERT_EQ(names.size(), 3U);
    EXPECT_TRUE(std::regex_match(names[2], std::regex("x\\.log[0-9]{10,}"))) << names[2];
    EXPECT_EQ(readFile(file(names[2])), full);
}

TEST_F(Log, goesOnInAFileThatIsOneByteShortOfFull) {
    (void)init("LOG_FILE=@/x.log\nLOG_FILE_SIZE=100\n");
    writeFile(file("x.log"), std::string(98, '.') + "\n");
    mLogger.error("failure");
    EXPECT_THAT(listDirectory(mDirectory.path()), ElementsAre("configuration", "x.log"));
    EXPECT_EQ(rawLines().size(), 2U);
}

TEST_F(Log, keepsEveryRenamedFile) {
    (void)init("LOG_FILE=@/x.log\nLOG_FILE_SIZE=1\n");
    for (const std::time_t now : {NOON, NOON + 1}) {
        writeFile(file("x.log"), std::to_string(now));
        mLogger.rotateIfNeeded(now);
    }
    EXPECT_EQ(readFile(file(ASIDE)), "1731577515");
    EXPECT_EQ(readFile(file("x.log1731577516")), "1731577516");
    EXPECT_FALSE(fileExists(file("x.log")));
}

TEST_F(Log, onStandardErrorRenamesNoFile) {
    (void)init("LOG_FILE=@/missing/x.log\nLOG_FILE_SIZE=1\n");
    writeFile(file("missing/x.log"), "somebody else's");
    mLogger.rotateIfNeeded(NOON);
    EXPECT_EQ(readFile(file("missing/x.log")), "somebody else's");
}

TEST_F(Log, whoseFileIsGoneRenamesNothing) {
    (void)init("LOG_FILE=@/x.log\nLOG_FILE_SIZE=1\n");
    std::filesystem::remove(file("x.log"));
    const OutputCapture errors(STDERR_FILENO);
    mLogger.rotateIfNeeded(NOON);
    EXPECT_EQ(errors.text(), "");
    EXPECT_THAT(listDirectory(mDirectory.path()), ElementsAre("configuration"));
}

// ---- the two functions that take a text as the format ----

TEST(LogText, withoutALoggerGoesToStandardErrorAsItIs) {
    const OutputCapture errors(STDERR_FILENO);
    logDebugText(nullptr, "50% done, 100%% sure");
    logErrorText(nullptr, "50% done, 100%% sure");
    EXPECT_EQ(errors.text(), "[DEBUG] 50% done, 100%% sure\n[Error] 50% done, 100%% sure\n");
}

TEST(LogText, isTheFormatOfALogger) {
    Logger logger;
    const OutputCapture errors(STDERR_FILENO);
    logDebugText(&logger, "100%% sure");
    logErrorText(&logger, "100%% sure");
    EXPECT_EQ(errors.text(), "[Debug]: 100% sure\n[Error]: 100% sure\n");
}

TEST(LogText, beginsNoLineAndLeavesNoEmptyOne) {
    Logger logger;
    const OutputCapture errors(STDERR_FILENO);
    for (Logger* to : {&logger, static_cast<Logger*>(nullptr)}) {
        logDebugText(to, "a\n[Error]: b\r\n");
        logErrorText(to, "a\n[Error]: b\r\n");
    }
    EXPECT_EQ(errors.text(), "[Debug]: a?[Error]: b??\n[Error]: a?[Error]: b??\n"
                             "[DEBUG] a?[Error]: b??\n[Error] a?[Error]: b??\n");
}

TEST(EscapeFormat, doublesEveryPercentSign) {
    EXPECT_EQ(escapeFormat(""), "");
    EXPECT_EQ(escapeFormat("plain text"), "plain text");
    EXPECT_EQ(escapeFormat("%"), "%%");
    EXPECT_EQ(escapeFormat("%s%%n 100%"), "%%s%%%%n 100%%");
    EXPECT_EQ(escapeFormat(std::string("a\0%", 3)), std::string("a\0%%", 4));
}

} // namespace
