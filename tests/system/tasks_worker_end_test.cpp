// When an exception has ended the worker, everything but tasks goes on.

#include "tests/support/wait.h"
#include "tests/system/request_road.h"

namespace {

const std::string RSA = R"("KeyBitLength":2048)";

class WorkerEnd : public RequestRoad {
protected:
    WorkerEnd() : tasks(server) {
        tasks.command("SUBSCRIBE", "TASK_STATE_CHANGE");
        setBackendAnswers(R"({"generateCSR":[{"throw":"broken at 100%s"},{"csr":"text"}]})");
    }

    void endWorker() {
        start();
        EXPECT_EQ(describeAnswer(send(signing(RSA, 1))), "PROCESSING");
        EXPECT_TRUE(waitUntil([this] {
            return log().ends_with("[Error]: Error occurr during processing pending CSR request, "
                                   "error message: broken at 100%s\n");
        }));
    }

    std::string nextState(double seconds = WAIT_LIMIT_SECONDS) {
        RedisAnswer message;
        return tasks.nextMessage(message, seconds) ? message.texts().back() : "none";
    }

    RedisClient tasks;
};

TEST_F(WorkerEnd, TaskStaysRunning) {
    endWorker();
    EXPECT_EQ(nextState(), "/tasks/1 Pending null null");
    EXPECT_EQ(nextState(), "/tasks/1 Running null null");
    EXPECT_EQ(client.command("EXISTS", "&&/tasks/1/Result").integer, 0);
    EXPECT_TRUE(daemon->running());
}

TEST_F(WorkerEnd, NewTasksAreAcceptedAndNeverRun) {
    endWorker();
    EXPECT_EQ(describeAnswer(send(signing(RSA, 2))), "PROCESSING");
    EXPECT_EQ(describeAnswer(send(signing(RSA, 3))), "PROCESSING");
    for (const std::string expected :
         {"/tasks/1 Pending null null", "/tasks/1 Running null null", "/tasks/2 Pending null null",
          "/tasks/3 Pending null null"}) {
        EXPECT_EQ(nextState(), expected);
    }
    EXPECT_EQ(nextState(0.3), "none");
    EXPECT_EQ(backendCalls().size(), 1U);
    EXPECT_EQ(client.command("EXISTS", "&&/tasks/2/Result").integer, 0);
}

TEST_F(WorkerEnd, OtherRequestsAreServed) {
    endWorker();
    EXPECT_EQ(describeAnswer(send(signing(R"("KeyCurveId":"x")", 2))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(creation(3))), "OK");
    EXPECT_EQ(describeAnswer(send(deletion(COLLECTION + "/1", 4))), "OK_EMPTY");
}

TEST_F(WorkerEnd, ExceptionOfASynchronousRequestEndsTheDaemon) {
    start();
    const FrontEndRequest request = signing(R"("KeyCurveId":"x")");
    storeRequest(client, request);
    announce(request, requestMessage(request));
    EXPECT_EQ(daemon->waitForExit(), ABORTED);
}

} // namespace
