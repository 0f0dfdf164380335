// Signing requests that run as tasks, and what goes on when an exception has ended the worker.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

#include <set>

namespace {

using Fields = std::map<std::string, std::string>;
using Texts = std::vector<std::string>;

const std::string RSA = R"("KeyPairAlgorithm":"TPM_ALG_RSA","KeyBitLength":2048)";
const std::string CURVE = R"("KeyCurveId":"TPM_ECC_NIST_P256")";
const std::string RESULT = "&&/tasks/1/Result";

class Tasks : public RequestRoad {
protected:
    Tasks() : tasks(server) {
        tasks.command("SUBSCRIBE", "TASK_STATE_CHANGE");
    }

    // The next messages of that number; "none" in the place of one that does not come.
    Texts states(std::size_t count, double seconds = WAIT_LIMIT_SECONDS) {
        Texts result;
        RedisAnswer message;
        while (result.size() < count) {
            const bool came = tasks.nextMessage(message, seconds);
            result.push_back(came ? message.texts().back() : "none");
        }
        return result;
    }

    // Starts the daemon and its first task; the messages up to its end.
    Texts runTask() {
        start();
        EXPECT_EQ(describeAnswer(send(signing(RSA))), "PROCESSING");
        return states(3);
    }

    RedisClient tasks;
};

TEST_F(Tasks, RunInTheOrderOfTheirRequests) {
    setBackendAnswers(R"({"generateCSR":[{"csr":"1"},{"code":400},{"csr":"3"}]})");
    start();
    for (int number = 1; number <= 3; ++number) {
        storeAndAnnounce(signing(RSA, number));
    }
    Texts handled;
    std::set<std::string> pending;
    for (const std::string& state : states(9)) {
        if (state.find(" Pending ") == std::string::npos) {
            handled.push_back(state);
        } else {
            EXPECT_TRUE(handled.empty() || handled.back().substr(0, 8) < state.substr(0, 8));
            pending.insert(state);
        }
    }
    EXPECT_EQ(pending,
              (std::set<std::string>{"/tasks/1 Pending null null", "/tasks/2 Pending null null",
                                     "/tasks/3 Pending null null"}));
    EXPECT_EQ(handled, (Texts{"/tasks/1 Running null null", "/tasks/1 Completed null null",
                              "/tasks/2 Running null null",
                              "/tasks/2 Exception null null &&/tasks/2/ExtendedInfo",
                              "/tasks/3 Running null null", "/tasks/3 Completed null null"}));
}

TEST_F(Tasks, AreNamedInTheAnswerToTheirRequest) {
    start();
    EXPECT_EQ(send(signing(RSA)).status,
              (Fields{{"&&ReturnStatus", "PROCESSING"},
                      {"&&Location", "/tasks/1"},
                      {"&&ResponseData", "status/1/result/ResponseData"}}));
    (void)states(3);
    EXPECT_EQ(client.command("EXISTS", "status/1/result/ResponseData").integer, 0);
}

TEST_F(Tasks, KeepASuccessBelowTheTask) {
    setBackendAnswers(R"({"generateCSR":{"csr":"text"}})");
    EXPECT_EQ(runTask().back(), "/tasks/1 Completed null null");
    EXPECT_EQ(client.hash(RESULT),
              (Fields{{"&&ReturnStatus", "OK_RES"}, {"&&ResponseData", RESULT + "/ResponseData"}}));
    EXPECT_EQ(client.hash(RESULT + "/ResponseData"),
              (Fields{{"&&ObjectRef CertificateCollection " + COLLECTION, ""},
                      {"CSRString", "\"text\""}}));
    EXPECT_GT(client.command("TTL", "&&/tasks/1/ExtendedInfo").integer, 0);
    EXPECT_EQ(client.command("TTL", RESULT).integer, -1);
}

TEST_F(Tasks, KeepTheInformationOnAFailureForEver) {
    setBackendAnswers(R"({"generateCSR":{"code":500,"message":{"MessageId":"Own.1.0.Text",
        "MessageArgs":["a"],"RelatedProperties":["/City"]}}})");
    EXPECT_EQ(runTask().back(), "/tasks/1 Exception null null &&/tasks/1/ExtendedInfo");
    const FrontEndAnswer result = readStatus(client, RESULT);
    EXPECT_EQ(result.status.at("&&ReturnStatus"), "EXCEPTION");
    EXPECT_EQ(result.messageId, "Own.1.0.Text");
    EXPECT_EQ(result.messageArgs, Texts{"a"});
    EXPECT_EQ(result.relatedProperties, Texts{"/City"});
    for (const std::string end : {"", "/1", "/1/MessageArgs", "/1/RelatedProperties"}) {
        EXPECT_EQ(client.command("TTL", "&&/tasks/1/ExtendedInfo" + end).integer, -1);
    }
    EXPECT_NE(log().find("[Error]: generateCSR: asynchronously generate key failed.\n"),
              std::string::npos);
}

TEST_F(Tasks, HoldNoOtherRequestUp) {
    setBackendAnswers(R"({"generateCSR":[{"waitForFile":"/run/go","csr":"1"},{"csr":"2"}]})");
    start();
    EXPECT_EQ(describeAnswer(send(signing(RSA, 1))), "PROCESSING");
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_EQ(describeAnswer(send(signing(CURVE, 2))), "OK_RES");
    EXPECT_EQ(client.hash("status/2/result/ResponseData").at("CSRString"), "\"2\"");
    EXPECT_EQ(describeAnswer(send(signing(RSA, 3))), "PROCESSING");
    EXPECT_EQ(states(3), (Texts{"/tasks/1 Pending null null", "/tasks/1 Running null null",
                                "/tasks/3 Pending null null"}));
    EXPECT_EQ(client.command("EXISTS", RESULT).integer, 0);
    writeFile("/run/go", "");
    EXPECT_EQ(states(3), (Texts{"/tasks/1 Completed null null", "/tasks/3 Running null null",
                                "/tasks/3 Completed null null"}));
}

TEST_F(Tasks, AreAnnouncedByTheListenerAndThenByTheWorkerEachOnItsOwnConnection) {
    start();
    CommandMonitor monitor(server);
    EXPECT_EQ(describeAnswer(send(signing(RSA))), "PROCESSING");
    (void)states(3);
    Fields published; // by client
    for (const auto& [from, words] : monitor.stop()) {
        if (from.starts_with(DAEMON_CLIENTS) && words.front() == "PUBLISH") {
            published[from] += words.back() + "\n";
        }
    }
    std::set<std::string> texts;
    for (const auto& [from, text] : published) {
        texts.insert(text);
    }
    EXPECT_EQ(texts, (std::set<std::string>{
                         "/tasks/1 Pending null null\nstatus/1/result\n",
                         "/tasks/1 Running null null\n/tasks/1 Completed null null\n"}));
}

// ---- after an exception ----

class EndedWorker : public Tasks {
protected:
    EndedWorker() {
        setBackendAnswers(R"({"generateCSR":[{"throw":"broken at 100%s"},{"csr":"text"}]})");
    }

    void endWorker() {
        start();
        EXPECT_EQ(describeAnswer(send(signing(RSA, 1))), "PROCESSING");
        EXPECT_EQ(states(2), (Texts{"/tasks/1 Pending null null", "/tasks/1 Running null null"}));
        EXPECT_TRUE(waitUntil([this] {
            return log().ends_with("[Error]: Error occurr during processing pending CSR request, "
                                   "error message: broken at 100%s\n");
        }));
    }
};

TEST_F(EndedWorker, LeavesItsTaskRunningAndLaterOnesPending) {
    endWorker();
    EXPECT_EQ(describeAnswer(send(signing(RSA, 2))), "PROCESSING");
    EXPECT_EQ(describeAnswer(send(signing(RSA, 3))), "PROCESSING");
    EXPECT_EQ(states(2), (Texts{"/tasks/2 Pending null null", "/tasks/3 Pending null null"}));
    EXPECT_EQ(states(1, 0.3), Texts{"none"});
    EXPECT_EQ(backendCalls().size(), 1U);
    EXPECT_EQ(client.command("EXISTS", RESULT, "&&/tasks/2/Result").integer, 0);
    EXPECT_TRUE(daemon->running());
}

TEST_F(EndedWorker, LeavesOtherRequestsServed) {
    endWorker();
    EXPECT_EQ(describeAnswer(send(signing(CURVE, 2))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(creation(3))), "OK");
    EXPECT_EQ(describeAnswer(send(deletion(COLLECTION + "/1", 4))), "OK_EMPTY");
}

TEST_F(EndedWorker, IsNotWhatAnExceptionOfARequestAtOnceComesTo) {
    start();
    storeAndAnnounce(signing(CURVE));
    EXPECT_EQ(daemon->waitForExit(), ABORTED);
}

} // namespace
