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
#include <memory>
#include <ostream>
#include <regex>

namespace {

using testing::ElementsAre;

const std::string NO_FILE_NAMED =
    "Log filename is not specified. Messages will be written to stderr.\n";

class LoggerTest : public testing::Test {
protected:
    std::string file(const std::string& name) const {
        return mDirectory.file(name);
    }

    // Initialises the logger from these lines and gives what it prints meanwhile.
    std::string init(const std::string& configuration) {
        writeFile(file("configuration"), configuration);
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

    // The file's lines without their times, each of which is looked at.
    std::vector<std::string> logLines(const std::string& name = "x.log") const;

    TempDirectory mDirectory;
    Logger mLogger;
};

std::string formatLocalTime(std::time_t time) {
    std::tm local{};
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
    const std::time_t seconds = std::stol(parts[2]);
    if (parts[1] != formatLocalTime(seconds)) {
        return "not the same instant: " + line;
    }
    return parts[3];
}

std::vector<std::string> LoggerTest::logLines(const std::string& name) const {
    std::vector<std::string> lines;
    for (const auto& line : splitLines(readFile(file(name)))) {
        lines.push_back(withoutCheckedTime(line));
    }
    return lines;
}

const std::vector<std::string> BOTH_LINES = {"[Error]: failure 7 of 100%", "[Debug]: news %s"};
const std::string BOTH_ON_STANDARD_ERROR = "[Error]: failure 7 of 100%\n[Debug]: news %s\n";

// ---- before init, and without a file ----

TEST_F(LoggerTest, writesBothLevelsToStandardErrorBeforeInit) {
    EXPECT_FALSE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
}

TEST_F(LoggerTest, withoutAFileNameWritesToStandardError) {
    EXPECT_EQ(init("OTHER=1\n"), NO_FILE_NAMED);
    EXPECT_FALSE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
}

TEST_F(LoggerTest, withAnEmptyFileNameWritesToStandardError) {
    EXPECT_EQ(init("LOG_FILE=\n"), NO_FILE_NAMED);
    EXPECT_FALSE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
}

TEST_F(LoggerTest, withoutAConfigurationFileWritesToStandardError) {
    const OutputCapture errors(STDERR_FILENO);
    mLogger.init(file("missing"));
    EXPECT_EQ(errors.text(), NO_FILE_NAMED);
    EXPECT_FALSE(mLogger.isFileMode());
}

TEST_F(LoggerTest, withAMissingFolderWritesToStandardErrorWithTheLabelOnly) {
    const std::string path = file("missing") + "/x.log";
    EXPECT_EQ(init("LOG_FILE=" + path + "\n"), "Failed to create the log filename - " + path +
                                                   " Messages will be written to stderr.\n");
    EXPECT_FALSE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
}

TEST_F(LoggerTest, withAFileNameThatDoesNotFitWritesToStandardError) {
    const std::string printed = init("LOG_FILE=" + file(std::string(128, 'x')) + "\n");
    EXPECT_THAT(printed, testing::EndsWith("\n" + NO_FILE_NAMED));
    EXPECT_FALSE(mLogger.isFileMode());
}

// ---- to a file ----

TEST_F(LoggerTest, writesTimedLinesToTheFile) {
    EXPECT_EQ(init("LOG_FILE=" + file("x.log") + "\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
    EXPECT_EQ(readFile(file("x.log")), "");
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines(), BOTH_LINES);
}

TEST_F(LoggerTest, writesLocalTime) {
    // NOLINTBEGIN(concurrency-mt-unsafe): one thread
    setenv("TZ", "TST-5:30", 1);
    tzset();
    (void)init("LOG_FILE=" + file("x.log") + "\n");
    (void)writeBoth();
    EXPECT_EQ(logLines(), BOTH_LINES);
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_THAT(logLines(), testing::Each(testing::StartsWith("not the same instant")));
    unsetenv("TZ");
    tzset();
    // NOLINTEND(concurrency-mt-unsafe)
}

TEST_F(LoggerTest, writesTheTimeOfTheLine) {
    (void)init("LOG_FILE=" + file("x.log") + "\n");
    const std::time_t before = std::time(nullptr);
    (void)writeBoth();
    const std::time_t after = std::time(nullptr);
    for (const auto& line : splitLines(readFile(file("x.log")))) {
        const std::time_t written = std::stol(line.substr(16));
        EXPECT_TRUE(before <= written && written <= after) << line;
    }
}

TEST_F(LoggerTest, endsEveryLineWithExactlyOneLineFeedOfItsOwn) {
    (void)init("LOG_FILE=" + file("x.log") + "\n");
    mLogger.error("%s", "");
    mLogger.error("with one of its own\n");
    const auto lines = splitLines(readFile(file("x.log")));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(withoutCheckedTime(lines[0]), "[Error]: ");
    EXPECT_EQ(withoutCheckedTime(lines[1]), "[Error]: with one of its own");
    EXPECT_EQ(lines[2], "");
}

TEST_F(LoggerTest, emptiesTheFileOfBefore) {
    writeFile(file("x.log"), "of before\n");
    EXPECT_EQ(init("LOG_FILE=" + file("x.log") + "\n"), "");
    EXPECT_EQ(readFile(file("x.log")), "");
}

TEST_F(LoggerTest, writesToStandardErrorWhileTheFileCannotBeOpened) {
    std::filesystem::create_directory(file("folder"));
    EXPECT_EQ(init("LOG_FILE=" + file("folder/x.log") + "\n"), "");
    std::filesystem::remove_all(file("folder"));
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
    EXPECT_TRUE(mLogger.isFileMode());
    std::filesystem::create_directory(file("folder"));
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines("folder/x.log"), BOTH_LINES);
}

TEST_F(LoggerTest, writesToANewFileWhenTheFileHasBeenRemoved) {
    (void)init("LOG_FILE=" + file("x.log") + "\n");
    (void)writeBoth();
    std::filesystem::remove(file("x.log"));
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines(), BOTH_LINES);
}

// ---- LOG_FILE_BAK ----

TEST_F(LoggerTest, renamesThePreviousFileToTheBackupAtStart) {
    writeFile(file("x.log"), "of before\n");
    writeFile(file("x.bak"), "of long before\n");
    EXPECT_EQ(init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_BAK=" + file("x.bak") + "\n"), "");
    EXPECT_EQ(readFile(file("x.log")), "");
    EXPECT_EQ(readFile(file("x.bak")), "of before\n");
}

TEST_F(LoggerTest, startsWithoutAPreviousFileToRename) {
    EXPECT_EQ(init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_BAK=" + file("x.bak") + "\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
    EXPECT_FALSE(fileExists(file("x.bak")));
}

TEST_F(LoggerTest, ignoresABackupThatCannotBeMade) {
    writeFile(file("x.log"), "of before\n");
    EXPECT_EQ(init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_BAK=" + file("missing/x.bak") + "\n"),
              "");
    EXPECT_TRUE(mLogger.isFileMode());
    EXPECT_EQ(readFile(file("x.log")), "");
}

TEST_F(LoggerTest, renamesNothingForABackupWithoutALogFile) {
    EXPECT_EQ(init("LOG_FILE_BAK=" + file("x.bak") + "\n"), NO_FILE_NAMED);
    EXPECT_FALSE(fileExists(file("x.bak")));
}

// ---- LOG_LEVEL ----

TEST_F(LoggerTest, levelErrorDropsDebugLines) {
    (void)init("LOG_FILE=" + file("x.log") + "\nLOG_LEVEL=error\n");
    EXPECT_EQ(writeBoth(), "");
    EXPECT_THAT(logLines(), ElementsAre("[Error]: failure 7 of 100%"));
}

TEST_F(LoggerTest, levelErrorDropsDebugLinesOnStandardErrorToo) {
    (void)init("LOG_LEVEL=error\n");
    EXPECT_EQ(writeBoth(), "[Error]: failure 7 of 100%\n");
}

TEST_F(LoggerTest, anyOtherLevelKeepsDebugLines) {
    for (const char* level : {"ERROR", "Error", "errors", "debug", "0", ""}) {
        SCOPED_TRACE(level);
        Logger logger;
        writeFile(file("configuration"), std::string("LOG_LEVEL=") + level + "\n");
        const OutputCapture errors(STDERR_FILENO);
        logger.init(file("configuration"));
        logger.debug("news");
        EXPECT_EQ(errors.text(), NO_FILE_NAMED + "[Debug]: news\n");
    }
}

// ---- LOG_SYSTEM ----

class Sleeper {
public:
    Sleeper() : mProcess(options()) {}

private:
    static ChildProcessOptions options() {
        ChildProcessOptions options;
        options.arguments = {"sleep", "600"};
        return options;
    }

    ChildProcess mProcess;
};

TEST_F(LoggerTest, leavesEverythingToALogSystemThatRuns) {
    const Sleeper logSystem;
    const OutputCapture output(STDOUT_FILENO); // takes the process number that the search prints
    writeFile(file("x.log"), "of before\n");
    EXPECT_EQ(init("LOG_SYSTEM=sleep\nLOG_FILE=" + file("x.log") +
                   "\nLOG_FILE_BAK=" + file("x.bak") + "\nLOG_FILE_SIZE=abc\nLOG_LEVEL=error\n"),
              "sleep is found. Messages will be written to stderr.\n");
    EXPECT_FALSE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), BOTH_ON_STANDARD_ERROR);
    EXPECT_EQ(readFile(file("x.log")), "of before\n");
    EXPECT_FALSE(fileExists(file("x.bak")));
}

TEST_F(LoggerTest, writesItsFileWhenTheLogSystemDoesNotRun) {
    EXPECT_EQ(init("LOG_SYSTEM=no_such_log_system\nLOG_FILE=" + file("x.log") + "\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines(), BOTH_LINES);
}

TEST_F(LoggerTest, writesItsFileWhenTheLogSystemHasNoName) {
    EXPECT_EQ(init("LOG_SYSTEM=\nLOG_FILE=" + file("x.log") + "\n"), "");
    EXPECT_TRUE(mLogger.isFileMode());
}

// ---- LOG_FILE_SIZE ----

struct SizeSetting {
    const char* name;
    const char* value;
    std::string printed;
    long limit; // 0: never renamed

    friend void PrintTo(const SizeSetting& row, std::ostream* out) {
        *out << row.name;
    }
};

class LoggerSize : public LoggerTest, public testing::WithParamInterface<SizeSetting> {
protected:
    // Whether a file of so many bytes is renamed aside.
    bool isRenamed(long size) {
        writeFile(file("x.log"), std::string(static_cast<std::size_t>(size), '.'));
        mLogger.rotateIfNeeded(1731577515);
        return std::filesystem::remove(file("x.log1731577515"));
    }
};

TEST_P(LoggerSize, setsTheLimit) {
    EXPECT_EQ(init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_SIZE=" + GetParam().value + "\n"),
              GetParam().printed);
    ASSERT_TRUE(mLogger.isFileMode());
    if (GetParam().limit == 0) {
        EXPECT_FALSE(isRenamed(0));
        EXPECT_FALSE(isRenamed(1000000));
        return;
    }
    EXPECT_FALSE(isRenamed(GetParam().limit - 1));
    EXPECT_TRUE(isRenamed(GetParam().limit));
    EXPECT_TRUE(isRenamed(GetParam().limit + 1));
}

INSTANTIATE_TEST_SUITE_P(
    Table, LoggerSize,
    testing::Values(SizeSetting{"number", "100", "", 100}, SizeSetting{"one", "1", "", 1},
                    SizeSetting{"trailingText", "100kb", "", 100},
                    SizeSetting{"decimalPoint", "100.9", "", 100},
                    SizeSetting{"plusSign", "+100", "", 100},
                    SizeSetting{"leadingZeros", "0100", "", 100}, SizeSetting{"zero", "0", "", 0},
                    SizeSetting{"negative", "-5", "", 0}, SizeSetting{"empty", "", "", 0},
                    SizeSetting{"word", "abc", "Error: stoi\n", 0},
                    SizeSetting{"numberBehindAWord", "kb100", "Error: stoi\n", 0},
                    SizeSetting{"sign", "-", "Error: stoi\n", 0},
                    SizeSetting{"largestInt", "2147483647", "", 0},
                    SizeSetting{"aboveInt", "2147483648", "Error: stoi\n", 0},
                    SizeSetting{"belowInt", "-2147483649", "Error: stoi\n", 0},
                    SizeSetting{"aboveLong", "99999999999999999999", "Error: stoi\n", 0}),
    [](const auto& row) { return row.param.name; });

TEST_F(LoggerTest, withoutASizeNeverRenamesTheFile) {
    (void)init("LOG_FILE=" + file("x.log") + "\n");
    writeFile(file("x.log"), std::string(1000000, '.'));
    mLogger.rotateIfNeeded(1731577515);
    EXPECT_EQ(readFile(file("x.log")).size(), 1000000U);
}

TEST_F(LoggerTest, renamesAFullFileBeforeTheNextLine) {
    (void)init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_BAK=" + file("x.bak") +
               "\nLOG_FILE_SIZE=100\n");
    const std::string full(100, '.');
    writeFile(file("x.log"), full);
    EXPECT_EQ(writeBoth(), "");
    EXPECT_EQ(logLines(), BOTH_LINES);
    EXPECT_FALSE(fileExists(file("x.bak")));
    const auto names = listDirectory(mDirectory.path());
    ASSERT_EQ(names.size(), 3U);
    EXPECT_TRUE(std::regex_match(names[2], std::regex("x\\.log[0-9]{10,}"))) << names[2];
    EXPECT_EQ(readFile(file(names[2])), full);
}

TEST_F(LoggerTest, appendsToAFileThatIsOneByteShortOfFull) {
    (void)init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_SIZE=100\n");
    writeFile(file("x.log"), std::string(98, '.') + "\n");
    mLogger.error("failure");
    EXPECT_THAT(listDirectory(mDirectory.path()), ElementsAre("configuration", "x.log"));
    EXPECT_EQ(splitLines(readFile(file("x.log"))).size(), 2U);
}

TEST_F(LoggerTest, keepsEveryRenamedFile) {
    (void)init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_SIZE=1\n");
    for (const std::time_t now : {1731577515, 1731577516, 1731577517}) {
        writeFile(file("x.log"), std::to_string(now));
        mLogger.rotateIfNeeded(now);
    }
    EXPECT_EQ(readFile(file("x.log1731577515")), "1731577515");
    EXPECT_EQ(readFile(file("x.log1731577516")), "1731577516");
    EXPECT_EQ(readFile(file("x.log1731577517")), "1731577517");
    EXPECT_FALSE(fileExists(file("x.log")));
}

TEST_F(LoggerTest, rotatesNothingOnStandardError) {
    const std::string path = file("missing") + "/x.log";
    (void)init("LOG_FILE=" + path + "\nLOG_FILE_SIZE=1\n");
    writeFile(path, "somebody else's");
    mLogger.rotateIfNeeded(1731577515);
    EXPECT_EQ(readFile(path), "somebody else's");
}

TEST_F(LoggerTest, rotatesNothingWithoutAFile) {
    (void)init("LOG_FILE=" + file("x.log") + "\nLOG_FILE_SIZE=1\n");
    std::filesystem::remove(file("x.log"));
    const OutputCapture errors(STDERR_FILENO);
    mLogger.rotateIfNeeded(1731577515);
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

TEST_F(LoggerTest, textOfTheDebugFunctionObeysTheLevel) {
    (void)init("LOG_LEVEL=error\n");
    const OutputCapture errors(STDERR_FILENO);
    logDebugText(&mLogger, "news");
    logErrorText(&mLogger, "failure");
    EXPECT_EQ(errors.text(), "[Error]: failure\n");
}

TEST(EscapeFormat, doublesEveryPercentSign) {
    EXPECT_EQ(escapeFormat(""), "");
    EXPECT_EQ(escapeFormat("plain text"), "plain text");
    EXPECT_EQ(escapeFormat("%"), "%%");
    EXPECT_EQ(escapeFormat("%s%%n 100%"), "%%s%%%%n 100%%");
    EXPECT_EQ(escapeFormat(std::string("a\0%", 3)), std::string("a\0%%", 4));
}

TEST(EscapeFormat, letsAnyTextArriveLiterally) {
    Logger logger;
    const OutputCapture errors(STDERR_FILENO);
    logErrorText(&logger, escapeFormat("%s %n %d 100%"));
    EXPECT_EQ(errors.text(), "[Error]: %s %n %d 100%\n");
}

} // namespace
