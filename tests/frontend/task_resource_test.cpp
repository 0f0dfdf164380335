// Task resources.

#include "frontend/exchange/stored_tree.h"
#include "frontend/records/task_resource.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

const std::string TASKS = "/redfish/v1/TaskService/Tasks";

class TaskResource : public testing::Test {
protected:
    std::string make(const std::string& name = "A job") {
        return createTask(client.context(), name);
    }

    // The result as the daemon leaves it.
    void storeFailure(const std::string& taskUri) {
        const std::string key = "&&" + taskUri;
        client.command("HSET", key + "/Result", "&&ReturnStatus", "FAILURE", "&&ExtendedInfo",
                       key + "/ExtendedInfo");
        client.command("RPUSH", key + "/ExtendedInfo", "\"" + key + "/ExtendedInfo/1\"");
        client.command("HSET", key + "/ExtendedInfo/1", "&&MessageId",
                       "Base.1.9.ResourceMissingAtURI", "&&MessageArgs",
                       key + "/ExtendedInfo/1/MessageArgs");
        client.command("RPUSH", key + "/ExtendedInfo/1/MessageArgs", "\"/x\"");
    }

    void storeSuccess(const std::string& taskUri) {
        const std::string key = "&&" + taskUri + "/Result";
        client.command("HSET", key, "&&ReturnStatus", "OK_RES", "&&ResponseData",
                       key + "/ResponseData");
        client.command("HSET", key + "/ResponseData", "CSRString", R"("one\ntwo")");
    }

    RedisServer server;
    RedisClient client{server};
};

TEST_F(TaskResource, ANewTaskIsListed) {
    const std::string uri = make();
    EXPECT_EQ(uri, TASKS + "/1");
    const json task = readDocument(client.context(), uri);
    EXPECT_EQ(task["TaskState"], "New");
    EXPECT_EQ(task["TaskStatus"], "OK");
    EXPECT_EQ(task["Name"], "A job");
    EXPECT_EQ(task["Messages"], json::array());
    EXPECT_EQ(readDocument(client.context(), TASKS)["Members@odata.count"], 1);
    EXPECT_EQ(make("Another"), TASKS + "/2");
    const auto tasks = listTasks(client.context());
    ASSERT_EQ(tasks.size(), 2U);
    EXPECT_EQ(tasks[0].name, "A job");
    EXPECT_EQ(tasks[1].uri, TASKS + "/2");
}

TEST_F(TaskResource, AStateThatIsNotFinalLeavesTheTaskOpen) {
    const std::string uri = make();
    setTaskState(client.context(), uri, "Running");
    const auto task = findTask(client.context(), uri);
    ASSERT_TRUE(task.has_value());
    EXPECT_EQ(task->state, "Running");
    EXPECT_EQ(task->endTime, "");
}

TEST_F(TaskResource, AFailedTaskSaysWhatWentWrong) {
    const std::string uri = make();
    storeFailure(uri);
    setTaskState(client.context(), uri, "Exception");
    const json task = readDocument(client.context(), uri);
    EXPECT_EQ(task["TaskState"], "Exception");
    EXPECT_EQ(task["TaskStatus"], "Critical");
    const json messages = json::array({{{"MessageId", "Base.1.9.ResourceMissingAtURI"},
                                        {"MessageArgs", {"/x"}},
                                        {"Message", "There is no resource at /x."}}});
    EXPECT_EQ(task["Messages"], messages);
    EXPECT_FALSE(findTask(client.context(), uri)->endTime.empty());
}

TEST_F(TaskResource, AnEndThatNoFrontEndSawIsFoundInTheResult) {
    const std::string good = make("Good");
    const std::string bad = make("Bad");
    (void)make("Open");
    storeSuccess(good);
    storeFailure(bad);
    const auto tasks = listTasks(client.context());
    ASSERT_EQ(tasks.size(), 3U);
    EXPECT_EQ(tasks[0].state, "Completed");
    EXPECT_EQ(tasks[1].state, "Exception");
    EXPECT_EQ(tasks[2].state, "New");
    EXPECT_EQ(readDocument(client.context(), good)["TaskState"], "Completed");
    EXPECT_EQ(readDocument(client.context(), good)["TaskStatus"], "OK");
}

TEST_F(TaskResource, AResultHoldsTheSigningRequest) {
    const std::string uri = make();
    EXPECT_FALSE(readTaskResult(client.context(), uri).has_value());
    storeSuccess(uri);
    const auto result = readTaskResult(client.context(), uri);
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->response, R"({"CSRString":"one\ntwo"})");
    EXPECT_EQ(signingRequestOf(*result), "one\ntwo");
}

TEST_F(TaskResource, ARemovedTaskLeavesNothingBehind) {
    const std::string uri = make();
    storeFailure(uri);
    setTaskState(client.context(), uri, "Exception");
    removeTask(client.context(), uri);
    for (const std::string& key : client.keys()) {
        EXPECT_EQ(key.find(uri), std::string::npos) << key;
    }
    EXPECT_FALSE(findTask(client.context(), uri).has_value());
    EXPECT_EQ(readDocument(client.context(), TASKS)["Members@odata.count"], 0);
    EXPECT_TRUE(listTasks(client.context()).empty());
}

TEST_F(TaskResource, ANewTaskDoesNotTakeOverTheResultOfAnEarlierOne) {
    storeSuccess(TASKS + "/1");
    const std::string uri = make();
    EXPECT_EQ(uri, TASKS + "/1");
    EXPECT_FALSE(readTaskResult(client.context(), uri).has_value());
}

} // namespace
