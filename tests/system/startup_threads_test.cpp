// Start-up when the machine refuses it a lock or a thread, when a thread cannot be joined, when the
// configuration library throws, and the normal end.

#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait.h"
#include "tests/system/daemon_log.h"
#include "tests/system/start_faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Texts = std::vector<std::string>;

constexpr int START_FAILED = 255;
constexpr int ABORTED = 134;

const Texts PREPARED = {
    "[Debug]: Certificate Service log is starting ...",
    "[Debug]: >>> skeleton certificate service loaded create channel successfully.",
    "[Debug]: >>> skeleton certificate service loaded delete channel successfully.",
    "[Debug]: >>> skeleton certificate service loaded action channel successfully.",
};
const std::string NO_LOCK = "[Error]: >>> init thread argument failed.";
const std::string NO_CREATION = "[Error]: Create thread for subscribe failed.";
const std::string NO_DELETION = "[Error]: Delete thread for subscribe failed.";
const std::string NO_WORKER =
    "[Error]: Failed to create thread for processing async CSR action request.";
const std::string NO_ACTION = "[Error]: Failed to create thread for subscribing action request.";
const std::string CREATION_JOIN = "[Error]: Failed to join a create thread.";
const std::string DELETION_JOIN = "[Error]: Failed to join a delete thread.";
const std::string WORKER_JOIN =
    "[Error]: Failed to join a thread for processing async CSR request.";
const std::string ACTION_JOIN = "[Error]: Failed to join the action thread.";

// ---- what the machine refuses ----

struct Row {
    const char* name;
    Texts failing; // calls
    Texts passing; // calls that only seem to do their work
    Texts errors;
    std::size_t threads; // started before the fault, at most

    friend void PrintTo(const Row& row, std::ostream* out) {
        *out << row.name;
    }
};

// clang-format off
const Row ROWS[] = {
    {"NoLock", {"pthread_mutex_init:1"}, {}, {NO_LOCK}, 0},
    // The thread that never started is joined all the same, and that join fails.
    {"NoCreationListener", {"pthread_create:1"}, {}, {NO_CREATION, CREATION_JOIN}, 0},
    {"NoDeletionListener", {"pthread_create:2"}, {}, {NO_DELETION, DELETION_JOIN}, 1},
    {"NoWorkerWhichIsCalledTheActionThread", {"pthread_create:3"}, {}, {NO_WORKER, ACTION_JOIN}, 2},
    {"NoActionListener", {"pthread_create:4"}, {}, {NO_ACTION, ACTION_JOIN}, 3},
    // When the join reports no error, only the creation's line is logged.
    {"NoCreationListenerToJoin", {"pthread_create:1"}, {"pthread_join:1"}, {NO_CREATION}, 0},
    {"NoDeletionListenerToJoin", {"pthread_create:2"}, {"pthread_join:1"}, {NO_DELETION}, 1},
    {"NoWorkerToJoin", {"pthread_create:3"}, {"pthread_join:1"}, {NO_WORKER}, 2},
    {"NoActionListenerToJoin", {"pthread_create:4"}, {"pthread_join:1"}, {NO_ACTION}, 3},
    {"NoJoinOfTheCreationListener", {"pthread_join:1"}, {}, {CREATION_JOIN}, 4},
    {"NoJoinOfTheDeletionListener", {"pthread_join:2"}, {"pthread_join:1"}, {DELETION_JOIN}, 4},
    {"NoJoinOfTheWorker", {"pthread_join:3"}, {"pthread_join:1", "pthread_join:2"},
     {WORKER_JOIN}, 4},
    {"NoJoinOfTheActionListener", {"pthread_join:4"},
     {"pthread_join:1", "pthread_join:2", "pthread_join:3"}, {ACTION_JOIN}, 4},
};
// clang-format on

class StartUp : public testing::Test {
protected:
    StartUp() {
        writeConnectionFiles(server);
    }

    void launch(const StartFaults& faults) {
        daemon = std::make_unique<DaemonProcess>(withFaults(faults, loggingToFile()));
    }

    RedisServer server;
    RedisClient client{server};
    std::unique_ptr<DaemonProcess> daemon;
};

class RefusedStart : public StartUp, public testing::WithParamInterface<Row> {};

TEST_P(RefusedStart, IsLoggedAndEndsTheProcess) {
    const auto& [name, failing, passing, errors, threads] = GetParam();
    launch({failing, passing});
    EXPECT_EQ(daemon->waitForExit(), START_FAILED);
    Texts expected = PREPARED;
    expected.insert(expected.end(), errors.begin(), errors.end());
    EXPECT_EQ(mainLogLines(*daemon), expected);
    EXPECT_LE(logLines(*daemon).size(), expected.size() + threads);
}

INSTANTIATE_TEST_SUITE_P(By, RefusedStart, testing::ValuesIn(ROWS),
                         [](const auto& row) { return row.param.name; });

// Four threads wait for work, the worker on its condition.
TEST_F(StartUp, EndsTheProcessWhateverItsThreadsWaitFor) {
    StartFaults faults;
    faults.failing = {"pthread_join:1"};
    faults.held = "pthread_join:1";
    launch(faults);
    ASSERT_TRUE(waitForHeldStart());
    ASSERT_TRUE(
        waitUntil([this] { return clientCount(client) == 6 && listening(client) == "1 1 1"; }));
    releaseHeldStart();
    EXPECT_EQ(daemon->waitForExit(), START_FAILED);
    EXPECT_EQ(logLines(*daemon).back(), CREATION_JOIN);
}

// What a library has printed is still in the buffer of standard output, which is a file here.
TEST_F(StartUp, WritesOutWhatWasPrintedBeforeItEndsRunningThreads) {
    StartFaults faults;
    faults.failing = {"pthread_create:4"};
    faults.printed = "a library's line\n";
    launch(faults);
    EXPECT_EQ(daemon->waitForExit(), START_FAILED);
    EXPECT_EQ(daemon->standardOutput(), faults.printed);
}

TEST_F(StartUp, ForbidsCoreFilesBeforeAnySecretIsRead) {
    server.stop();
    launch({});
    EXPECT_EQ(daemon->waitForExit(), START_FAILED);
    EXPECT_EQ(mayLeaveCoreFile(), "0");
}

// ---- exceptions ----

TEST_F(StartUp, LogsAnExceptionAndEndsBeforeItAsksRedisForAnything) {
    for (const std::string type : {"runtime_error", "logic_error"}) {
        StartFaults faults;
        faults.exception = type;
        faults.exceptionText = "no %s left";
        launch(faults);
        EXPECT_EQ(daemon->waitForExit(), START_FAILED);
        EXPECT_THAT(
            logLines(*daemon),
            ElementsAre(PREPARED[0], "[Error]: Error no %s left occurs while initialize data."));
        EXPECT_TRUE(client.keys().empty());
    }
}

TEST_F(StartUp, IsAbortedByAnExceptionOfAnotherKind) {
    StartFaults faults;
    faults.exception = "bad_alloc";
    launch(faults);
    EXPECT_EQ(daemon->waitForExit(), ABORTED);
    EXPECT_THAT(logLines(*daemon), ElementsAre(PREPARED[0]));
}

// ---- the normal end ----

TEST_F(StartUp, IsFollowedByTheEndWhenAllFourThreadsHaveEnded) {
    StartFaults faults;
    faults.held = "pthread_mutex_init:1"; // the start is over, no thread runs yet
    launch(faults);
    ASSERT_TRUE(waitForHeldStart());
    EXPECT_EQ(logLines(*daemon), PREPARED);
    server.stop();
    releaseHeldStart();
    EXPECT_EQ(daemon->waitForExit(), 0);
    Texts lines = logLines(*daemon);
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
