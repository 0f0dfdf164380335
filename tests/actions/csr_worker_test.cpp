// The worker of the signing requests that run as tasks.

#include "actions/certificate_action.h"
#include "actions/csr_worker.h"
#include "actions/pending_csr.h"
#include "tests/actions/action_fixture.h"
#include "tests/support/fake_backend.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <nlohmann/json.hpp>
#include <pthread.h>
#include <unistd.h>

namespace {

const std::string BEGIN_LINE = "[Debug]: begin process async CSR thread.\n";
const std::string NULL_LINE = "[Error]: Failed to get pending request from queue.\n";
const std::string THREE_NULL_LINES = NULL_LINE + NULL_LINE + NULL_LINE;

class CSRWorker : public ActionFixture {
protected:
    CSRWorker() : tasks(server) {
        tasks.command("SUBSCRIBE", "TASK_STATE_CHANGE");
        writeConnectionFiles(server);
    }

    ~CSRWorker() override {
        if (started) {
            stop();
        }
        for (const PendingCSR* record : pendingCSRQueue.entries) {
            delete record;
        }
        pendingCSRQueue.entries.clear();
    }

    void start() {
        ASSERT_EQ(pthread_create(&worker, nullptr, asyncCSRWorker, nullptr), 0);
        started = true;
    }

    void join() {
        EXPECT_EQ(pthread_join(worker, nullptr), 0);
        started = false;
    }

    // Three passes that find a null entry end the worker, after everything queued before.
    void stop() {
        pushPendingCSR(nullptr);
        join();
    }

    static PendingCSR* push(const std::string& taskUri) {
        CSRRequest request;
        request.collectionUri = COLLECTION;
        request.keyBitLength = 2048;
        request.stringParameters = {{"KeyPairAlgorithm", "TPM_ALG_RSA"}};
        auto* record = new PendingCSR{request, taskUri, COLLECTION};
        pushPendingCSR(record);
        return record;
    }

    // The next task-state message; empty when none comes.
    std::string nextState() {
        RedisAnswer message;
        return tasks.nextMessage(message, WAIT_LIMIT_SECONDS) ? message.texts().back()
                                                              : std::string();
    }

    RedisClient tasks;
    pthread_t worker{};
    bool started = false;
};

const std::string RESULT = "&&" + TASK + "/Result";

// The commands of TASK, whose result stands at {R} and its extended information at {I}.
std::string taskCommands(const std::string& text) {
    return filled(text, {{"TASK", TASK}, {"R", RESULT}, {"I", "&&" + TASK + "/ExtendedInfo"}});
}

class CSRWorkerCommands : public CSRWorker {
protected:
    // Everything that the worker sends for this answer of the backend.
    std::string commandsOfTask(const std::string& answers) {
        setBackendAnswers(answers);
        push(TASK);
        return commandsOf([this] {
            start();
            stop();
        });
    }
};

TEST_F(CSRWorkerCommands, OfASuccessComeInThisOrder) {
    EXPECT_EQ(commandsOfTask(R"({"generateCSR":{"csr":"text"}})"),
              taskCommands(R"(PUBLISH TASK_STATE_CHANGE "{TASK} Running null null"
TYPE {R}/ResponseData
INCR Array-Member-Sequence-ID
HSET {R}/ResponseData "&&ObjectRef CertificateCollection {COLLECTION}" ""
HSET {R}/ResponseData CSRString "\"text\""
HGET webDefaultValue REDIS_CONNECTION_DEFAULT_TIMEOUT
TYPE {R}
INCR Array-Member-Sequence-ID
HSET {R} &&ResponseData {R}/ResponseData
HSET {R} &&ReturnStatus OK_RES
TYPE {I}/1
INCR Array-Member-Sequence-ID
EXPIRE {I}/1 6
TYPE {I}
INCR Array-Member-Sequence-ID
RPUSH {I} "\"{I}/1\""
EXPIRE {I} 6
PUBLISH TASK_STATE_CHANGE "{TASK} Completed null null"
)"));
    EXPECT_EQ(log(), BEGIN_LINE + THREE_NULL_LINES);
}

TEST_F(CSRWorkerCommands, OfAFailureComeInThisOrderAndSetNoLifetime) {
    EXPECT_EQ(commandsOfTask(R"({"generateCSR":{"code":400,"message":{"MessageId":"Own.1.0.Text",
                  "MessageArgs":["a"],"RelatedProperties":["/City"]}}})"),
              taskCommands(R"(PUBLISH TASK_STATE_CHANGE "{TASK} Running null null"
HGET webDefaultValue REDIS_CONNECTION_DEFAULT_TIMEOUT
TYPE {R}
INCR Array-Member-Sequence-ID
HSET {R} &&ExtendedInfo {I}
HSET {R} &&ReturnStatus FAILURE
TYPE {I}/1
INCR Array-Member-Sequence-ID
HSET {I}/1 &&MessageArgs {I}/1/MessageArgs
HSET {I}/1 &&MessageId Own.1.0.Text
HSET {I}/1 &&RelatedProperties {I}/1/RelatedProperties
TYPE {I}/1/MessageArgs
INCR Array-Member-Sequence-ID
RPUSH {I}/1/MessageArgs "\"a\""
TYPE {I}/1/RelatedProperties
INCR Array-Member-Sequence-ID
RPUSH {I}/1/RelatedProperties "\"/City\""
TYPE {I}
INCR Array-Member-Sequence-ID
RPUSH {I} "\"{I}/1\""
PUBLISH TASK_STATE_CHANGE "{TASK} Exception null null {I}"
)"));
    EXPECT_EQ(answer(RESULT), "FAILURE Own.1.0.Text (a) [/City]");
    EXPECT_EQ(log(), BEGIN_LINE + "[Error]: generateCSR: asynchronously generate key failed.\n" +
                         THREE_NULL_LINES);
}

TEST_F(CSRWorker, WritesARefusalOfTheBackendByItsCode) {
    setBackendAnswers(R"({"generateCSR":[{"code":400},{"code":500},{"code":0}]})");
    push("/t/1");
    push("/t/2");
    push("/t/3");
    start();
    stop();
    EXPECT_EQ(answer("&&/t/1/Result"), "FAILURE ExtendedError.1.2.BadRequest ()");
    EXPECT_EQ(answer("&&/t/2/Result"), DATABASE_ERROR);
    EXPECT_EQ(answer("&&/t/3/Result"), DATABASE_ERROR);
}

TEST_F(CSRWorker, RunsTheOldestTaskFirst) {
    setBackendAnswers(R"({"generateCSR":[{"csr":"1"},{"code":500},{"csr":"3"}]})");
    push("/t/1");
    push("/t/2");
    start();
    push("/t/3");
    const std::vector<std::string> expected = {
        "/t/1 Running null null", "/t/1 Completed null null",
        "/t/2 Running null null", "/t/2 Exception null null &&/t/2/ExtendedInfo",
        "/t/3 Running null null", "/t/3 Completed null null",
    };
    std::vector<std::string> states;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        states.push_back(nextState());
    }
    EXPECT_EQ(states, expected);
    EXPECT_EQ(client.hash("&&/t/3/Result/ResponseData").at("CSRString"), "\"3\"");
}

TEST_F(CSRWorker, HandsTheQueuedRequestToTheBackend) {
    CSRRequest request;
    request.collectionUri = COLLECTION;
    request.keyBitLength = 3072;
    request.arrayParameters = {{"KeyUsage", {"b", "a"}}};
    request.stringParameters = {{"ChallengePassword", "plain"}, {"City", "Town"}};
    pushPendingCSR(new PendingCSR{request, TASK, COLLECTION});
    start();
    stop();
    EXPECT_EQ(backendCalls(),
              std::vector<std::string>{R"({"arrayParameters":{"KeyUsage":["b","a"]},)"
                                       R"("collectionUri":")" +
                                       COLLECTION +
                                       R"(","handler":"generateCSR","keyBitLength":3072,)"
                                       R"("stringParameters":{"ChallengePassword":"plain",)"
                                       R"("City":"Town"}})"});
}

TEST_F(CSRWorker, LeavesTheQueueOpenWhileTheBackendWorks) {
    setBackendAnswers(R"({"generateCSR":[{"waitForFile":"/run/go"},{}]})");
    start();
    push("/t/1");
    EXPECT_EQ(nextState(), "/t/1 Running null null");
    EXPECT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    push("/t/2");
    ASSERT_EQ(pthread_mutex_trylock(&pendingCSRQueue.mutex), 0);
    const std::size_t queued = pendingCSRQueue.entries.size();
    pthread_mutex_unlock(&pendingCSRQueue.mutex);
    EXPECT_EQ(queued, 1U);
    writeFile("/run/go", "");
    EXPECT_EQ(nextState(), "/t/1 Completed null null");
    EXPECT_EQ(nextState(), "/t/2 Running null null");
    EXPECT_EQ(nextState(), "/t/2 Completed null null");
}

TEST_F(CSRWorker, WaitsAgainWhenWokenWithoutAnEntry) {
    start();
    for (int i = 0; i < 100; ++i) {
        pthread_mutex_lock(&pendingCSRQueue.mutex);
        pthread_cond_broadcast(&pendingCSRQueue.notEmpty);
        pthread_mutex_unlock(&pendingCSRQueue.mutex);
        usleep(1000);
    }
    push("/t/1");
    EXPECT_EQ(nextState(), "/t/1 Running null null");
    EXPECT_EQ(nextState(), "/t/1 Completed null null");
    EXPECT_EQ(log(), BEGIN_LINE);
}

TEST_F(CSRWorker, EndsAfterThreePassesOfANullEntryThatStays) {
    pushPendingCSR(nullptr);
    push("/t/1");
    start();
    join();
    EXPECT_EQ(log(), BEGIN_LINE + THREE_NULL_LINES);
    ASSERT_EQ(pendingCSRQueue.entries.size(), 2U);
    EXPECT_EQ(pendingCSRQueue.entries.front(), nullptr);
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(CSRWorker, ClosesItsConnectionAtItsEnd) {
    // The test's own connections: the client, the code under test's, and the subscriber.
    start();
    EXPECT_TRUE(waitUntil(
        [this] { return splitLines(client.command("CLIENT", "LIST").text).size() == 4; }));
    stop();
    EXPECT_TRUE(waitUntil(
        [this] { return splitLines(client.command("CLIENT", "LIST").text).size() == 3; }));
}

TEST_F(CSRWorker, EndsWithAnExceptionThatLeavesTheTaskRunningAndNoPassword) {
    setBackendAnswers(R"({"generateCSR":{"throw":"no space for 100%s"}})");
    const std::unique_ptr<PendingCSR> first(push("/t/1"));
    first->request.stringParameters["ChallengePassword"] = "plain";
    push("/t/2");
    start();
    join();
    EXPECT_EQ(log(), BEGIN_LINE + "[Error]: Error occurr during processing pending CSR request, "
                                  "error message: no space for 100%s\n");
    EXPECT_EQ(nextState(), "/t/1 Running null null");
    EXPECT_EQ(client.command("EXISTS", "&&/t/1/Result").integer, 0);
    // The record is neither deleted nor queued.
    EXPECT_EQ(first->taskUri, "/t/1");
    EXPECT_EQ(first->request.stringParameters.at("ChallengePassword"), "");
    ASSERT_EQ(pendingCSRQueue.entries.size(), 1U);
    EXPECT_EQ(pendingCSRQueue.entries.front()->taskUri, "/t/2");
}

TEST_F(CSRWorker, LeavesNewTasksPendingOnceItHasEnded) {
    start();
    stop();
    pendingCSRQueue.entries.clear();
    storeRequest(client, actionRequest(GENERATE_CSR, csrBody(R"("KeyBitLength":2048)")));
    EXPECT_TRUE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
    EXPECT_EQ(answer(), "PROCESSING");
    EXPECT_EQ(nextState(), TASK + " Pending null null");
    EXPECT_EQ(pendingCSRQueue.entries.size(), 1U);
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(CSRWorker, EndsWithoutAServer) {
    server.stop();
    start();
    join();
    EXPECT_EQ(log(), BEGIN_LINE + "[Error]: Failed to connect to Redis.\n");
}

} // namespace
