// Start-up when the machine refuses it a lock or a thread, when a thread cannot be joined, when the
// configuration library throws, and the normal end.

#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"
#include "tests/system/start_faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Lines = std::vector<std::string>;

constexpr int START_FAILED = 255;
constexpr int ABORTED = 134;

const Lines PREPARED = {
    "[Debug]: Certificate Service log is starting ...",
    "[Debug]: >>> skeleton certificate service loaded create channel successfully.",
    "[Debug]: >>> skeleton certificate service loaded delete channel successfully.",
    "[Debug]: >>> skeleton certificate service loaded action channel successfully.",
};

Lines preparedAnd(const Lines& lines) {
    Lines result = PREPARED;
    result.insert(result.end(), lines.begin(), lines.end());
    return result;
}

// ---- what the machine refuses ----

struct Refusal {
    const char* name;
    StartFaults faults;
    Lines errors;
    std::size_t threads; // started before the fault, at most

    friend void PrintTo(const Refusal& row, std::ostream* out) {
        *out << row.name;
    }
};

class StartUpThreads : public testing::TestWithParam<Refusal> {
protected:
    RedisServer mServer;
};

TEST_P(StartUpThreads, endTheStart) {
    writeConnectionFiles(mServer);
    DaemonProcess daemon(withFaults(GetParam().faults, loggingToFile()));
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_EQ(mainLogLines(daemon), preparedAnd(GetParam().errors));
    EXPECT_LE(logLines(daemon).size(), mainLogLines(daemon).size() + GetParam().threads);
}

const Lines CREATION_REFUSED = {"[Error]: Create thread for subscribe failed."};
const Lines DELETION_REFUSED = {"[Error]: Delete thread for subscribe failed."};
const Lines WORKER_REFUSED = {
    "[Error]: Failed to create thread for processing async CSR action request."};
const Lines ACTION_REFUSED = {"[Error]: Failed to create thread for subscribing action request."};

const std::string CREATION_JOIN = "[Error]: Failed to join a create thread.";
const std::string DELETION_JOIN = "[Error]: Failed to join a delete thread.";
const std::string WORKER_JOIN =
    "[Error]: Failed to join a thread for processing async CSR request.";
const std::string ACTION_JOIN = "[Error]: Failed to join the action thread.";

INSTANTIATE_TEST_SUITE_P(Lock, StartUpThreads,
                         testing::Values(Refusal{"thatIsRefused",
                                                 {{"pthread_mutex_init:1"}},
                                                 {"[Error]: >>> init thread argument failed."},
                                                 0}),
                         [](const auto& row) { return row.param.name; });

// The thread that never started is joined all the same, and that join fails.
INSTANTIATE_TEST_SUITE_P(Creation, StartUpThreads,
                         testing::Values(Refusal{"ofTheCreationListener",
                                                 {{"pthread_create:1"}},
                                                 {CREATION_REFUSED[0], CREATION_JOIN},
                                                 0},
                                         Refusal{"ofTheDeletionListener",
                                                 {{"pthread_create:2"}},
                                                 {DELETION_REFUSED[0], DELETION_JOIN},
                                                 1},
                                         Refusal{"ofTheWorkerWhichIsCalledTheActionThread",
                                                 {{"pthread_create:3"}},
                                                 {WORKER_REFUSED[0], ACTION_JOIN},
                                                 2},
                                         Refusal{"ofTheActionListener",
                                                 {{"pthread_create:4"}},
                                                 {ACTION_REFUSED[0], ACTION_JOIN},
                                                 3}),
                         [](const auto& row) { return row.param.name; });

// When the join reports no error, only the creation's line is logged.
INSTANTIATE_TEST_SUITE_P(
    CreationWithQuietJoin, StartUpThreads,
    testing::Values(
        Refusal{"ofTheCreationListener",
                {{"pthread_create:1"}, {"pthread_join:1"}},
                CREATION_REFUSED,
                0},
        Refusal{"ofTheDeletionListener",
                {{"pthread_create:2"}, {"pthread_join:1"}},
                DELETION_REFUSED,
                1},
        Refusal{"ofTheWorker", {{"pthread_create:3"}, {"pthread_join:1"}}, WORKER_REFUSED, 2},
        Refusal{
            "ofTheActionListener", {{"pthread_create:4"}, {"pthread_join:1"}}, ACTION_REFUSED, 3}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Join, StartUpThreads,
    testing::Values(
        Refusal{"ofTheCreationListener", {{"pthread_join:1"}}, {CREATION_JOIN}, 4},
        Refusal{
            "ofTheDeletionListener", {{"pthread_join:2"}, {"pthread_join:1"}}, {DELETION_JOIN}, 4},
        Refusal{"ofTheWorker",
                {{"pthread_join:3"}, {"pthread_join:1", "pthread_join:2"}},
                {WORKER_JOIN},
                4},
        Refusal{"ofTheActionListener",
                {{"pthread_join:4"}, {"pthread_join:1", "pthread_join:2", "pthread_join:3"}},
                {ACTION_JOIN},
                4}),
    [](const auto& row) { return row.param.name; });

// Four threads wait for work, the worker on its condition: none of them may hold up the end.
TEST(StartUpThreadsThatWait, endWithTheProcess) {
    const RedisServer server;
    writeConnectionFiles(server);
    RedisClient client(server);
    StartFaults faults;
    faults.failing = {"pthread_join:1"};
    faults.held = "pthread_join:1";
    DaemonProcess daemon(withFaults(faults, loggingToFile()));
    ASSERT_TRUE(waitForHeldStart());
    ASSERT_TRUE(waitUntil([&] {
        return splitLines(client.command("CLIENT", "LIST").text).size() == 6 &&
               client.command("PUBSUB", "CHANNELS").elements.size() == 3;
    }));
    releaseHeldStart();
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_EQ(logLines(daemon).back(), CREATION_JOIN);
}

// What a library has printed is still in the buffer of standard output, which is a file here.
TEST(FailedStart, WritesOutWhatWasPrintedBeforeItEndsTheRunningThreads) {
    const RedisServer server;
    writeConnectionFiles(server);
    StartFaults faults;
    faults.failing = {"pthread_create:4"};
    faults.printed = "a library's line\n";
    DaemonProcess daemon(withFaults(faults, loggingToFile()));
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_EQ(daemon.standardOutput(), faults.printed);
}

TEST(StartUp, ForbidsCoreFilesBeforeAnySecretIsRead) {
    DaemonProcess daemon(withFaults({}, loggingToFile()));
    EXPECT_EQ(daemon.waitForExit(), START_FAILED) << "there is no Redis";
    EXPECT_EQ(mayLeaveCoreFile(), "0");
}

// ---- exceptions ----

StartFaults throwing(const std::string& exception, const std::string& text = "") {
    StartFaults faults;
    faults.exception = exception;
    faults.exceptionText = text;
    return faults;
}

TEST(StartUpException, ofTheRunTimeIsLoggedAndEndsTheStart) {
    DaemonProcess daemon(withFaults(throwing("runtime_error", "no %s left"), loggingToFile()));
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_THAT(
        logLines(daemon),
        ElementsAre(PREPARED[0], "[Error]: Error no %s left occurs while initialize data."));
}

TEST(StartUpException, ofTheLogicIsLoggedAndEndsTheStart) {
    DaemonProcess daemon(
        withFaults(throwing("logic_error", "basic_string: null"), loggingToFile()));
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_THAT(logLines(daemon), ElementsAre(PREPARED[0], "[Error]: Error basic_string: null "
                                                           "occurs while initialize data."));
}

TEST(StartUpException, ofAnyOtherKindEndsTheProcess) {
    DaemonProcess daemon(withFaults(throwing("bad_alloc"), loggingToFile()));
    EXPECT_EQ(daemon.waitForExit(), ABORTED);
    EXPECT_THAT(logLines(daemon), ElementsAre(PREPARED[0]));
}

TEST(StartUpException, comesBeforeAnythingIsAskedOfRedis) {
    const RedisServer server;
    writeConnectionFiles(server);
    RedisClient client(server);
    DaemonProcess daemon(withFaults(throwing("runtime_error", "x"), loggingToFile()));
    EXPECT_EQ(daemon.waitForExit(), START_FAILED);
    EXPECT_TRUE(client.keys().empty());
}

// ---- the normal end ----

TEST(NormalEnd, comesWhenAllFourThreadsHaveEnded) {
    RedisServer server;
    writeConnectionFiles(server);
    StartFaults faults;
    faults.held = "pthread_mutex_init:1"; // the start is over, no thread runs yet
    DaemonProcess daemon(withFaults(faults, loggingToFile()));
    ASSERT_TRUE(waitForHeldStart());
    EXPECT_EQ(logLines(daemon), PREPARED);
    server.stop();
    releaseHeldStart();
    EXPECT_EQ(daemon.waitForExit(), 0);
    auto lines = logLines(daemon);
    ASSERT_EQ(lines.size(), 15U);
    EXPECT_EQ(lines.back(), "[Debug]: >>> exiting certificate_service.");
    lines.erase(lines.begin(), lines.begin() + 4);
    lines.pop_back();
    // The line feed at the end of the collection listeners' text leaves an empty line behind it.
    EXPECT_THAT(
        lines,
        UnorderedElementsAre(
            "[Debug]: begin create certificate thread.", "[Error]: Failed to connect to Redis", "",
            "[Debug]: begin delete certificate thread.", "[Error]: Failed to connect to Redis", "",
            "[Debug]: begin process async CSR thread.", "[Error]: Failed to connect to Redis.",
            "[Debug]: begin certificate action thread.", "[Error]: Failed to connect to Redis."));
}

} // namespace
