// Tasks that are followed to their end.

#include "core/protocol/channels.h"
#include "core/protocol/messages.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/task_resource.h"
#include "frontend/web/service/answer.h"
#include "frontend/web/service/task_runner.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

class WebTasks : public testing::Test {
protected:
    WebTasks() {
        writeConnectionFiles(server);
    }

    // Somebody takes requests, as the daemon does.
    void pretendDaemon() {
        daemon.command("SUBSCRIBE", ACTION_CHANNEL);
    }

    // A task whose request the daemon has accepted.
    std::string accepted(TaskRunner& runner) {
        const std::string uri = runner.begin(client.context(), "A job");
        runner.noteAccepted(uri);
        return uri;
    }

    void announce(const std::string& uri, const std::string& state) {
        client.command("PUBLISH", TASK_STATE_CHANNEL, taskStateMessage({uri, state}));
    }

    void storeResult(const std::string& uri) {
        const std::string key = "&&" + uri + "/Result";
        client.command("HSET", key, "&&ReturnStatus", "OK_RES", "&&ResponseData", key + "/R");
        client.command("HSET", key + "/R", "CSRString", "\"x\"");
    }

    // As it is stored: a task is not brought up to date by being looked at here.
    json stored(const std::string& uri) {
        return readDocument(client.context(), uri);
    }

    bool reaches(const std::string& uri, const std::string& state) {
        return waitUntil([&] { return stored(uri).value("TaskState", "") == state; });
    }

    RedisServer server{RedisServerOptions{.keepData = true}};
    RedisClient client{server};
    RedisClient daemon{server};
};

TEST_F(WebTasks, ShowTheStatesAsTheyCome) {
    pretendDaemon();
    TaskRunner runner;
    const std::string first = accepted(runner);
    const std::string second = accepted(runner);
    announce(first, "Running");
    EXPECT_TRUE(reaches(first, "Running"));
    EXPECT_EQ(stored(second)["TaskState"], "New");
    storeResult(first);
    announce(first, "Completed");
    EXPECT_TRUE(reaches(first, "Completed"));
    EXPECT_EQ(stored(second)["TaskState"], "New");
}

TEST_F(WebTasks, EndWithAResultThatNobodyAnnounced) {
    pretendDaemon();
    TaskRunner runner;
    const std::string uri = accepted(runner);
    storeResult(uri);
    EXPECT_TRUE(reaches(uri, "Completed"));
}

TEST_F(WebTasks, DoNotGoBackFromTheirEnd) {
    pretendDaemon();
    TaskRunner runner;
    const std::string uri = accepted(runner);
    const std::string other = accepted(runner);
    storeResult(uri);
    announce(uri, "Completed");
    ASSERT_TRUE(reaches(uri, "Completed"));
    announce(uri, "Running");
    announce(other, "Running");
    ASSERT_TRUE(reaches(other, "Running"));
    EXPECT_EQ(stored(uri)["TaskState"], "Completed");
}

TEST_F(WebTasks, EndAsExceptionWhenTheDaemonIsGone) {
    TaskRunner runner;
    const std::string uri = accepted(runner);
    EXPECT_TRUE(reaches(uri, "Exception"));
    const json task = stored(uri);
    EXPECT_EQ(task["TaskStatus"], "Critical");
    EXPECT_EQ(task["Messages"][0]["MessageId"], "Base.1.9.InternalError");
    EXPECT_EQ(task["Messages"][0]["Message"], "The daemon has ended before the task was done.");
    EXPECT_TRUE(task.contains("EndTime"));
}

TEST_F(WebTasks, EndAsExceptionAfterTheirTime) {
    pretendDaemon();
    TaskRunner runner({.most = 4, .silence = 0.5, .kept = 9});
    const std::string uri = accepted(runner);
    EXPECT_TRUE(reaches(uri, "Exception"));
    EXPECT_EQ(stored(uri)["Messages"][0]["Message"],
              "The daemon has given no sign of the task for too long.");
}

TEST_F(WebTasks, ThatAreNotAcceptedYetAreLeftAlone) {
    TaskRunner runner({.most = 4, .silence = 0, .kept = 9});
    const std::string begun = runner.begin(client.context(), "Begun");
    const std::string lost = accepted(runner);
    ASSERT_TRUE(reaches(lost, "Exception"));
    EXPECT_EQ(stored(begun)["TaskState"], "New");
}

TEST_F(WebTasks, AreNoMoreThanMayBe) {
    pretendDaemon();
    TaskRunner runner({.most = 2, .silence = 600, .kept = 9});
    const std::string first = accepted(runner);
    const std::string second = runner.begin(client.context(), "Second");
    try {
        (void)runner.begin(client.context(), "Third");
        FAIL() << "a third task has begun";
    } catch (const Refusal& refusal) {
        EXPECT_EQ(refusal.status, 503);
        EXPECT_TRUE(findHeader(refusal.headers, "Retry-After").has_value());
    }
    EXPECT_EQ(listTasks(client.context()).size(), 2U);
    runner.cancel(client.context(), second);
    EXPECT_EQ(listTasks(client.context()).size(), 1U);
    EXPECT_NE(runner.begin(client.context(), "Third"), first);
}

TEST_F(WebTasks, ThatHaveEndedMakeRoomOldestFirst) {
    pretendDaemon();
    TaskRunner runner({.most = 4, .silence = 600, .kept = 3});
    const std::string running = accepted(runner);
    const std::string oldest = accepted(runner);
    const std::string younger = accepted(runner);
    storeResult(younger);
    storeResult(oldest);
    const std::string youngest = accepted(runner);
    std::vector<std::string> left;
    for (const TaskSummary& task : listTasks(client.context())) {
        left.push_back(task.uri);
    }
    EXPECT_EQ(left, (std::vector<std::string>{running, younger, youngest}));
}

TEST_F(WebTasks, OfAnEarlierRunAreFollowedAgain) {
    const std::string uri = createTask(client.context(), "Begun before");
    TaskRunner runner;
    runner.follow(uri);
    EXPECT_TRUE(reaches(uri, "Exception"));
}

TEST_F(WebTasks, ThatAreGoneComeNotBack) {
    pretendDaemon();
    TaskRunner runner;
    const std::string uri = accepted(runner);
    removeTask(client.context(), uri);
    const std::string other = accepted(runner);
    announce(uri, "Running");
    announce(other, "Running");
    ASSERT_TRUE(reaches(other, "Running"));
    EXPECT_EQ(stored(uri), nullptr);
}

TEST_F(WebTasks, AreFollowedAcrossARestartOfRedis) {
    TaskRunner runner;
    std::string uri;
    {
        pretendDaemon();
        uri = accepted(runner);
        server.restart();
    }
    RedisClient later(server);
    EXPECT_TRUE(waitUntil(
        [&] { return readDocument(later.context(), uri).value("TaskState", "") == "Exception"; }));
}

} // namespace
