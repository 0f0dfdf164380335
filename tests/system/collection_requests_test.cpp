// Creations and deletions on their whole road, and how they take turns with each other.

#include "tests/support/temp_files.h"
#include "tests/support/wait.h"
#include "tests/system/request_road.h"

#include <algorithm>

namespace {

using Texts = std::vector<std::string>;

const std::string CERTIFICATE = COLLECTION + "/1a";
const std::string BUSY = "EXCEPTION Base.1.9.ServiceTemporarilyUnavailable (1)";

class CollectionRequests : public RequestRoad {
protected:
    // Makes the event service note these keys of each event in the list "events".
    void noteEvents(const std::string& keys) {
        const std::string script = "return redis.call('RPUSH', 'events', " + keys + ")";
        const std::string digest = client.command("SCRIPT", "LOAD", script).text;
        client.command("HSET", "redisSHAScripts", "resourceChange", digest);
    }

    // Sends the request into a backend that holds it, and with it the lock.
    void startWithHeld(const std::string& handler, const FrontEndRequest& request) {
        setBackendAnswers(R"({")" + handler + R"(":{"waitForFile":"/run/go"}})");
        start();
        storeAndAnnounce(request);
        ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    }

    void expectEndOfHeld(const std::string& status) {
        EXPECT_FALSE(client.hash("status/1/result").contains("&&ReturnStatus"));
        writeFile("/run/go", "");
        EXPECT_TRUE(
            waitUntil([&] { return client.hash("status/1/result")["&&ReturnStatus"] == status; }));
    }
};

TEST_F(CollectionRequests, OfCreationLinkEveryCertificateNewestFirst) {
    start();
    Texts newestFirst;
    std::size_t longestId = 0;
    for (int number = 1; number <= 5; ++number) {
        const FrontEndAnswer answer = send(creation(number));
        ASSERT_EQ(describeAnswer(answer), "OK");
        EXPECT_EQ(answer.reply, "status/" + std::to_string(number) + "/result");
        const std::string uri = answer.status.at("&&Location");
        ASSERT_TRUE(uri.starts_with(COLLECTION + "/"));
        longestId = std::max(longestId, uri.size() - COLLECTION.size() - 1);
        EXPECT_EQ(client.hash(uri).at("@odata.id"), "\"" + uri + "\"");
        newestFirst.insert(newestFirst.begin(), "&&ObjectRef " + uri);
    }
    // Four bytes give more than six digits but for one identifier of 256.
    EXPECT_GT(longestId, 6U);
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"), newestFirst);
    EXPECT_EQ(client.list("&&" + LOCATIONS + "/Links/Certificates"), newestFirst);
    EXPECT_EQ(client.hash(COLLECTION).at("Members@odata.count"), "5");
    EXPECT_EQ(log().find("[Error]"), std::string::npos);
}

TEST_F(CollectionRequests, NumberTheirEventsOverAllRequests) {
    client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "2");
    noteEvents("KEYS[5]");
    start();
    EXPECT_EQ(describeAnswer(send(creation(1))), "OK");
    EXPECT_EQ(describeAnswer(send(deletion(CERTIFICATE, 2))), "OK_EMPTY");
    EXPECT_EQ(describeAnswer(send(creation(3))), "OK");
    EXPECT_EQ(client.list("events"), (Texts{"1", "2", "1"}));
}

TEST_F(CollectionRequests, OfDeletionTellOfCertificateCollectionAndLocations) {
    noteEvents("unpack(KEYS)");
    start();
    EXPECT_EQ(describeAnswer(send(deletion(CERTIFICATE))), "OK_EMPTY");
    EXPECT_EQ(client.list("events"),
              (Texts{"delete", CERTIFICATE, "Certificate", "EventGroupId", "1", "change",
                     COLLECTION, "CertificateCollection", "EventGroupId", "1", "change", LOCATIONS,
                     "CertificateLocations", "EventGroupId", "1"}));
}

TEST_F(CollectionRequests, OfDeletionLeaveTheRecordsOfTheCertificate) {
    start();
    const std::string uri = send(creation(1)).status.at("&&Location");
    const auto before = client.hash(uri);
    EXPECT_EQ(describeAnswer(send(deletion(uri, 2))), "OK_EMPTY");
    EXPECT_EQ(client.hash(uri), before);
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"), Texts{"&&ObjectRef " + uri});
    EXPECT_EQ(client.hash(COLLECTION).at("Members@odata.count"), "1");
}

// ---- the lock ----

TEST_F(CollectionRequests, OfCreationAreHeldOffByADeletionInTheBackend) {
    startWithHeld("delete", deletion(CERTIFICATE, 1));
    EXPECT_EQ(describeAnswer(send(creation(2))), BUSY);
    EXPECT_NE(log().find("[Error]: Create certificate: get lock error.\n"), std::string::npos);
    EXPECT_EQ(backendCalls().size(), 1U);
    expectEndOfHeld("OK_EMPTY");
    EXPECT_TRUE(waitUntil([this] { return describeAnswer(send(creation(3))) == "OK"; }));
}

TEST_F(CollectionRequests, OfDeletionAreHeldOffByACreationInTheBackend) {
    startWithHeld("create", creation(1));
    EXPECT_EQ(describeAnswer(send(deletion(CERTIFICATE, 2))), BUSY);
    EXPECT_NE(log().find("[Error]: Delete certificate: get lock error.\n"), std::string::npos);
    expectEndOfHeld("OK");
}

TEST_F(CollectionRequests, HoldNoActionOff) {
    storeResource(client, CERTIFICATE, R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
    startWithHeld("create", creation(1));
    EXPECT_EQ(describeAnswer(send(replacement(CERTIFICATE, 2))), "OK_RES");
    EXPECT_EQ(describeAnswer(send(signing("", 3))), "OK_RES");
    expectEndOfHeld("OK");
}

} // namespace
