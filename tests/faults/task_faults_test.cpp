// Every command that the worker sends for a signing request that runs as a task, spoilt in turn.

#include "tests/faults/fault_road.h"
#include "tests/support/request.h"
#include "tests/support/wait.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const std::string TASK = "/redfish/v1/TaskService/Tasks/";
const std::string STATE_CHANNEL = "TASK_STATE_CHANGE";

// Each request has a task of its own, whose number is in all its keys.
FrontEndRequest rsaRequest(int number) {
    const std::string id = std::to_string(number);
    FrontEndRequest request;
    request.kind = RequestKind::ACTION;
    request.targetUri = "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR";
    request.body = R"({"CertificateCollection":{"@odata.id":")" + COLLECTION +
                   R"("},"CommonName":"a","KeyPairAlgorithm":"TPM_ALG_RSA"})";
    request.fields = {{"&&Task", TASK + id}};
    request.requestKey = "requests/" + id;
    request.bodyKey = "body/" + id;
    request.statusKey = "status/" + id + "/result";
    request.returnChannel = "answers/" + id;
    return request;
}

} // namespace

class TaskFaults : public testing::TestWithParam<Fault>, protected FaultRoad {
protected:
    TaskFaults() {
        restartDaemon();
    }

    // Runs a request whose task must end, and gives the worker's commands.
    std::vector<ProxiedCommand> runTask(int number) {
        RedisClient states(mServer);
        states.command("SUBSCRIBE", STATE_CHANNEL);
        mProxy.setPlan({});
        EXPECT_EQ(sendRequest(mServer, rsaRequest(number)).status["&&ReturnStatus"], "PROCESSING");
        EXPECT_TRUE(awaitState(states, number, "Completed"));
        std::vector<ProxiedCommand> commands = mProxy.commands();
        const auto running = std::find_if(commands.begin(), commands.end(), [](const auto& sent) {
            return sent.words.back().find(" Running ") != std::string::npos;
        });
        EXPECT_NE(running, commands.end());
        const int worker = running->connection;
        std::erase_if(commands, [worker](const auto& sent) { return sent.connection != worker; });
        return commands;
    }

    static bool awaitState(RedisClient& states, int number, const std::string& state) {
        const std::string expected = TASK + std::to_string(number) + " " + state + " null null";
        RedisAnswer message;
        while (states.nextMessage(message, ANSWER_LIMIT_SECONDS)) {
            if (message.texts().back() == expected) {
                return true;
            }
        }
        return false;
    }
};

// Only what a refused command itself would have done is missing; the worker goes on.
TEST_P(TaskFaults, EveryCommandOfTheWorkerInTurn) {
    const Fault& fault = GetParam();
    seed();
    std::vector<ProxiedCommand> commands = runTask(1);
    for (std::size_t i = 0; i < commands.size(); ++i) {
        SCOPED_TRACE(std::to_string(i) + ": " + testing::PrintToString(commands[i].words));
        seed();
        const int worker = commands[i].connection;
        mProxy.setPlan({fault.kind, i, fault.error, worker});
        EXPECT_EQ(sendRequest(mServer, rsaRequest(2)).status["&&ReturnStatus"], "PROCESSING");
        if (fault.kind == FaultKind::ERROR_REPLY) {
            // The next task is handled behind it: its end tells that the spoilt one is over.
            RedisClient states(mServer);
            states.command("SUBSCRIBE", STATE_CHANNEL);
            EXPECT_EQ(sendRequest(mServer, rsaRequest(3)).status["&&ReturnStatus"], "PROCESSING");
            ASSERT_TRUE(awaitState(states, 3, "Completed"));
            const bool isStatus = commands[i].words.size() > 2 && commands[i].words[0] == "HSET" &&
                                  commands[i].words[2] == "&&ReturnStatus";
            EXPECT_EQ(mClient.hash("&&" + TASK + "2/Result")["&&ReturnStatus"],
                      isStatus ? "" : "OK_RES");
        } else {
            // The worker's connection is never made again: tasks are accepted and stay pending.
            ASSERT_TRUE(waitUntil([&] {
                const auto sent = mProxy.commands();
                return std::count_if(sent.begin(), sent.end(), [&](const auto& command) {
                           return command.connection == worker;
                       }) == static_cast<std::ptrdiff_t>(i) + 1;
            }));
            EXPECT_EQ(sendRequest(mServer, rsaRequest(3)).status["&&ReturnStatus"], "PROCESSING");
            restartDaemon();
            seed();
            commands = runTask(1);
        }
        ASSERT_TRUE(mDaemon->running());
    }
}

INSTANTIATE_TEST_SUITE_P(All, TaskFaults, testing::ValuesIn(connectionFaults()),
                         [](const auto& parameters) { return parameters.param.name; });
