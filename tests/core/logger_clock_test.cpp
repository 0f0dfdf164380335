// The log's dates under a clock of the test's own: this program brings its own time() and
// strftime(), which the logger then calls.

#include "core/logger.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <limits>

namespace {

bool gClockIsSet = false;
std::time_t gClock = 0;
bool gFormattingFails = false;

} // namespace

extern "C" std::time_t time(std::time_t* result) noexcept {
    std::time_t now = gClock;
    if (!gClockIsSet) {
        timespec precise{};
        (void)clock_gettime(CLOCK_REALTIME, &precise);
        now = precise.tv_sec;
    }
    if (result != nullptr) {
        *result = now;
    }
    return now;
}

extern "C" std::size_t strftime(char* buffer, std::size_t size, const char* format,
                                const std::tm* broken) noexcept {
    using Strftime = std::size_t (*)(char*, std::size_t, const char*, const std::tm*);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): dlsym's own interface
    static const auto real = reinterpret_cast<Strftime>(dlsym(RTLD_NEXT, "strftime"));
    return gFormattingFails ? 0 : real(buffer, size, format, broken);
}

namespace {

class LoggerClock : public testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1); // NOLINT(concurrency-mt-unsafe): one thread
        tzset();
        writeFile(mDirectory.file("configuration"),
                  "LOG_FILE=" + mDirectory.file("x.log") + "\nLOG_FILE_SIZE=60\n");
        mLogger.init(mDirectory.file("configuration"));
        ASSERT_TRUE(mLogger.isFileMode());
        gClockIsSet = true;
    }

    void TearDown() override {
        gClockIsSet = false;
        gFormattingFails = false;
    }

    // The file after one line written at this time.
    std::string lineAt(std::time_t now) {
        gClock = now;
        writeFile(mDirectory.file("x.log"), "");
        mLogger.error("failure");
        return readFile(mDirectory.file("x.log"));
    }

    TempDirectory mDirectory;
    Logger mLogger;
};

TEST_F(LoggerClock, writesDateAndSecondsOfTheLine) {
    EXPECT_EQ(lineAt(1730713515), "Nov  4 09:45:15 1730713515 [Error]: failure\n");
    EXPECT_EQ(lineAt(1731577515), "Nov 14 09:45:15 1731577515 [Error]: failure\n");
    EXPECT_EQ(lineAt(0), "Jan  1 00:00:00 0 [Error]: failure\n");
}

TEST_F(LoggerClock, leavesOutATimeThatHasNoDate) {
    const std::time_t last = std::numeric_limits<std::time_t>::max();
    const OutputCapture errors(STDERR_FILENO);
    EXPECT_EQ(lineAt(last), " " + std::to_string(last) + " [Error]: failure\n");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LoggerClock, tellsThatADateCouldNotBeComposedAndGoesOn) {
    gFormattingFails = true;
    const OutputCapture errors(STDERR_FILENO);
    EXPECT_EQ(lineAt(1730713515), " 1730713515 [Error]: failure\n");
    EXPECT_EQ(errors.text(), "Fail to compose date time string.\n");
}

TEST_F(LoggerClock, renamesAFullFileByTheTimeOfTheNextLine) {
    gClock = 1731577515;
    writeFile(mDirectory.file("x.log"), std::string(60, '.'));
    mLogger.error("failure");
    EXPECT_EQ(readFile(mDirectory.file("x.log1731577515")), std::string(60, '.'));
    EXPECT_EQ(readFile(mDirectory.file("x.log")), "Nov 14 09:45:15 1731577515 [Error]: failure\n");
}

} // namespace
