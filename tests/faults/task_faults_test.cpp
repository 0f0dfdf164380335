// Every command that the worker sends for a signing request that runs as a task, spoilt in turn.

#include "tests/faults/fault_road.h"
#include "tests/support/wait.h"

#include <algorithm>

namespace {

const std::string RSA = R"("KeyPairAlgorithm":"TPM_ALG_RSA")";

class TaskFaults : public FaultRoad, public testing::WithParamInterface<Fault> {
protected:
    TaskFaults() : states(server) {
        states.command("SUBSCRIBE", "TASK_STATE_CHANGE");
        restart();
    }

    void sendTask(int number) {
        EXPECT_EQ(describeAnswer(send(signing(RSA, number))), "PROCESSING");
    }

    bool awaitEnd(int number) {
        const std::string end = "/tasks/" + std::to_string(number) + " Completed null null";
        RedisAnswer message;
        while (states.nextMessage(message, ANSWER_LIMIT_SECONDS)) {
            if (message.texts().back() == end) {
                return true;
            }
        }
        return false;
    }

    // The worker's commands for a task that nothing spoils.
    std::vector<ProxiedCommand> learnCommands() {
        proxy.setPlan({});
        sendTask(1);
        EXPECT_TRUE(awaitEnd(1));
        std::vector<ProxiedCommand> commands = proxy.commands();
        const auto running = std::find_if(commands.begin(), commands.end(), [](const auto& sent) {
            return sent.words.back().find(" Running ") != std::string::npos;
        });
        EXPECT_NE(running, commands.end());
        const int worker = running->connection;
        std::erase_if(commands, [worker](const auto& sent) { return sent.connection != worker; });
        return commands;
    }

    // Whether the worker has sent exactly so many commands since the plan was set.
    bool awaitCommands(int worker, std::ptrdiff_t count) {
        return waitUntil([&] {
            const auto sent = proxy.commands();
            return std::count_if(sent.begin(), sent.end(), [&](const auto& command) {
                       return command.connection == worker;
                   }) == count;
        });
    }

    RedisClient states;
};

TEST_P(TaskFaults, OfAnyCommandLoseNoMoreThanThatCommand) {
    const Fault& fault = GetParam();
    std::vector<ProxiedCommand> commands = learnCommands();
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const auto& [worker, words] = commands[i];
        SCOPED_TRACE(std::to_string(i) + ": " + testing::PrintToString(words));
        seed();
        proxy.setPlan({fault.kind, i, fault.error, worker});
        sendTask(2);
        if (fault.kind == FaultKind::ERROR_REPLY) {
            // The next task is handled behind it: its end tells that the spoilt one is over.
            sendTask(3);
            ASSERT_TRUE(awaitEnd(3));
            const bool isStatus =
                words.size() > 2 && words[0] == "HSET" && words[2] == "&&ReturnStatus";
            EXPECT_EQ(client.hash("&&/tasks/2/Result")["&&ReturnStatus"], isStatus ? "" : "OK_RES");
            ASSERT_TRUE(daemon->running());
        } else {
            // The worker's connection is never made again: tasks are accepted and stay pending.
            ASSERT_TRUE(awaitCommands(worker, static_cast<std::ptrdiff_t>(i) + 1));
            sendTask(3);
            ASSERT_TRUE(daemon->running());
            restart();
            commands = learnCommands();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, TaskFaults, testing::ValuesIn(connectionFaults()),
                         [](const auto& row) { return row.param.name; });

} // namespace
