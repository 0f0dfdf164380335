// Signing requests that run as tasks.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

#include <algorithm>

namespace {

const std::string RSA = R"("KeyPairAlgorithm":"TPM_ALG_RSA","KeyBitLength":2048)";

class RsaTasks : public RequestRoad {
protected:
    RsaTasks() : tasks(server) {
        tasks.command("SUBSCRIBE", "TASK_STATE_CHANGE");
    }

    std::string nextState() {
        RedisAnswer message;
        return tasks.nextMessage(message, WAIT_LIMIT_SECONDS) ? message.texts().back()
                                                              : std::string();
    }

    // The states until this number of them has come.
    std::vector<std::string> states(std::size_t count) {
        std::vector<std::string> result;
        for (std::size_t i = 0; i < count; ++i) {
            result.push_back(nextState());
        }
        return result;
    }

    RedisClient tasks;
};

TEST_F(RsaTasks, RunInTheOrderOfTheirRequests) {
    setBackendAnswers(R"({"generateCSR":[{"csr":"1"},{"code":400},{"csr":"3"}]})");
    start();
    for (int number = 1; number <= 3; ++number) {
        const FrontEndRequest request = signing(RSA, number);
        storeRequest(client, request);
        announce(request, requestMessage(request));
    }
    std::vector<std::string> handled;
    std::map<std::string, std::vector<std::string>> ofTask;
    for (const std::string& state : states(9)) {
        const std::size_t blank = state.find(' ');
        const std::string task = state.substr(0, blank);
        const std::string rest = state.substr(blank + 1);
        ofTask[task].push_back(rest);
        if (!rest.starts_with("Pending")) {
            handled.push_back(task);
        }
    }
    EXPECT_EQ(handled, (std::vector<std::string>{"/tasks/1", "/tasks/1", "/tasks/2", "/tasks/2",
                                                 "/tasks/3", "/tasks/3"}));
    const std::vector<std::string> completed = {"Pending null null", "Running null null",
                                                "Completed null null"};
    EXPECT_EQ(ofTask["/tasks/1"], completed);
    EXPECT_EQ(ofTask["/tasks/2"],
              (std::vector<std::string>{"Pending null null", "Running null null",
                                        "Exception null null &&/tasks/2/ExtendedInfo"}));
    EXPECT_EQ(ofTask["/tasks/3"], completed);
}

TEST_F(RsaTasks, RequestIsAnsweredWithTheTask) {
    start();
    const FrontEndAnswer answer = send(signing(RSA));
    EXPECT_EQ(answer.status, (std::map<std::string, std::string>{
                                 {"&&ReturnStatus", "PROCESSING"},
                                 {"&&Location", "/tasks/1"},
                                 {"&&ResponseData", "status/1/result/ResponseData"}}));
    EXPECT_EQ(client.command("EXISTS", "status/1/result/ResponseData").integer, 0);
    (void)states(3);
}

TEST_F(RsaTasks, ResultOfASuccessStandsBelowTheTask) {
    setBackendAnswers(R"({"generateCSR":{"csr":"text"}})");
    start();
    EXPECT_EQ(describeAnswer(send(signing(RSA))), "PROCESSING");
    EXPECT_EQ(states(3).back(), "/tasks/1 Completed null null");
    EXPECT_EQ(
        client.hash("&&/tasks/1/Result"),
        (std::map<std::string, std::string>{{"&&ReturnStatus", "OK_RES"},
                                            {"&&ResponseData", "&&/tasks/1/Result/ResponseData"}}));
    EXPECT_EQ(
        client.hash("&&/tasks/1/Result/ResponseData"),
        (std::map<std::string, std::string>{{"&&ObjectRef CertificateCollection " + COLLECTION, ""},
                                            {"CSRString", "\"text\""}}));
    EXPECT_GT(client.command("TTL", "&&/tasks/1/ExtendedInfo").integer, 0);
    EXPECT_EQ(client.command("TTL", "&&/tasks/1/Result").integer, -1);
}

TEST_F(RsaTasks, InformationOnAFailureDoesNotExpire) {
    setBackendAnswers(R"({"generateCSR":{"code":500,"message":{"MessageId":"Own.1.0.Text",
        "MessageArgs":["a"],"RelatedProperties":["/City"]}}})");
    start();
    EXPECT_EQ(describeAnswer(send(signing(RSA))), "PROCESSING");
    EXPECT_EQ(states(3).back(), "/tasks/1 Exception null null &&/tasks/1/ExtendedInfo");
    const FrontEndAnswer result = readStatus(client, "&&/tasks/1/Result");
    EXPECT_EQ(result.status.at("&&ReturnStatus"), "EXCEPTION");
    EXPECT_EQ(result.messageId, "Own.1.0.Text");
    EXPECT_EQ(result.messageArgs, std::vector<std::string>{"a"});
    EXPECT_EQ(result.relatedProperties, std::vector<std::string>{"/City"});
    for (const std::string end : {"", "/1", "/1/MessageArgs", "/1/RelatedProperties"}) {
        EXPECT_EQ(client.command("TTL", "&&/tasks/1/ExtendedInfo" + end).integer, -1);
    }
    EXPECT_NE(log().find("[Error]: generateCSR: asynchronously generate key failed.\n"),
              std::string::npos);
}

TEST_F(RsaTasks, OtherRequestsAreAnsweredWhileATaskRuns) {
    setBackendAnswers(R"({"generateCSR":[{"waitForFile":"/run/go","csr":"1"},{"csr":"2"}]})");
    start();
    EXPECT_EQ(describeAnswer(send(signing(RSA, 1))), "PROCESSING");
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_EQ(describeAnswer(send(signing(R"("KeyCurveId":"x")", 2))), "OK_RES");
    EXPECT_EQ(client.hash("status/2/result/ResponseData").at("CSRString"), "\"2\"");
    EXPECT_EQ(describeAnswer(send(signing(RSA, 3))), "PROCESSING");
    EXPECT_EQ(states(3),
              (std::vector<std::string>{"/tasks/1 Pending null null", "/tasks/1 Running null null",
                                        "/tasks/3 Pending null null"}));
    EXPECT_EQ(client.command("EXISTS", "&&/tasks/1/Result").integer, 0);
    writeFile("/run/go", "");
    EXPECT_EQ(states(3), (std::vector<std::string>{"/tasks/1 Completed null null",
                                                   "/tasks/3 Running null null",
                                                   "/tasks/3 Completed null null"}));
}

TEST_F(RsaTasks, ListenerAndWorkerUseConnectionsOfTheirOwn) {
    setBackendAnswers(R"({"generateCSR":{"csr":"text"}})");
    start();
    CommandMonitor monitor(server);
    EXPECT_EQ(describeAnswer(send(signing(RSA))), "PROCESSING");
    EXPECT_EQ(states(3).back(), "/tasks/1 Completed null null");
    std::map<std::string, std::string> announcements; // by client
    for (const auto& [from, words] : monitor.stop()) {
        if (from.starts_with(DAEMON_CLIENTS) && words.front() == "PUBLISH") {
            announcements[from] += words.back() + "\n";
        }
    }
    std::vector<std::string> texts;
    for (const auto& [from, text] : announcements) {
        texts.push_back(text);
    }
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, (std::vector<std::string>{"/tasks/1 Pending null null\nstatus/1/result\n",
                                               "/tasks/1 Running null null\n"
                                               "/tasks/1 Completed null null\n"}));
}

} // namespace
