// Creations and deletions take turns: who has to wait too long is told to try again.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

namespace {

using CreateLock = RequestRoad;

const std::string BUSY = "EXCEPTION Base.1.9.ServiceTemporarilyUnavailable (1)";

TEST_F(CreateLock, DeletionInTheBackendHoldsCreationsOff) {
    setBackendAnswers(R"({"delete":{"waitForFile":"/run/go"}})");
    start();
    const FrontEndRequest blocked = deletion(COLLECTION + "/1", 1);
    storeRequest(client, blocked);
    announce(blocked, requestMessage(blocked));
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_EQ(describeAnswer(send(creation(2))), BUSY);
    EXPECT_NE(log().find("[Error]: Create certificate: get lock error.\n"), std::string::npos);
    EXPECT_EQ(backendCalls().size(), 1U);
    EXPECT_FALSE(client.hash("status/1/result").contains("&&ReturnStatus"));

    writeFile("/run/go", "");
    EXPECT_TRUE(waitUntil(
        [this] { return client.hash("status/1/result")["&&ReturnStatus"] == "OK_EMPTY"; }));
    EXPECT_TRUE(waitUntil([this] { return describeAnswer(send(creation(3))) == "OK"; }));
}

TEST_F(CreateLock, CreationInTheBackendHoldsDeletionsOff) {
    setBackendAnswers(R"({"create":{"waitForFile":"/run/go"}})");
    start();
    const FrontEndRequest blocked = creation(1);
    storeRequest(client, blocked);
    announce(blocked, requestMessage(blocked));
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_EQ(describeAnswer(send(deletion(COLLECTION + "/1", 2))), BUSY);
    EXPECT_NE(log().find("[Error]: Delete certificate: get lock error.\n"), std::string::npos);
    writeFile("/run/go", "");
    EXPECT_TRUE(
        waitUntil([this] { return client.hash("status/1/result")["&&ReturnStatus"] == "OK"; }));
}

TEST_F(CreateLock, ActionsTakeNoLock) {
    setBackendAnswers(R"({"create":{"waitForFile":"/run/go"}})");
    storeResource(client, COLLECTION + "/1",
                  R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
    start();
    const FrontEndRequest blocked = creation(1);
    storeRequest(client, blocked);
    announce(blocked, requestMessage(blocked));
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_EQ(describeAnswer(send(replacement(COLLECTION + "/1", 2))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(signing("", 3))), "OK_RES");
    writeFile("/run/go", "");
}

} // namespace
