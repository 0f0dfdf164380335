// Deletions on their whole road.

#include "tests/system/request_road.h"

namespace {

using DeleteCertificate = RequestRoad;

const std::string CERTIFICATE = COLLECTION + "/1a";

TEST_F(DeleteCertificate, EventsTellOfCertificateCollectionAndLocations) {
    const std::string digest =
        client.command("SCRIPT", "LOAD", "return redis.call('RPUSH', 'events', unpack(KEYS))").text;
    client.command("HSET", "redisSHAScripts", "resourceChange", digest);
    start();
    EXPECT_EQ(describeAnswer(send(deletion(CERTIFICATE))), "OK_EMPTY");
    EXPECT_EQ(client.list("events"),
              (std::vector<std::string>{"delete", CERTIFICATE, "Certificate", "EventGroupId", "1",
                                        "change", COLLECTION, "CertificateCollection",
                                        "EventGroupId", "1", "change", LOCATIONS,
                                        "CertificateLocations", "EventGroupId", "1"}));
}

TEST_F(DeleteCertificate, RecordsOfTheCertificateStay) {
    start();
    const std::string uri = send(creation(1)).status.at("&&Location");
    const auto before = client.hash(uri);
    EXPECT_EQ(describeAnswer(send(deletion(uri, 2))), "OK_EMPTY");
    EXPECT_EQ(client.hash(uri), before);
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"),
              std::vector<std::string>{"&&ObjectRef " + uri});
    EXPECT_EQ(client.hash(COLLECTION).at("Members@odata.count"), "1");
}

TEST_F(DeleteCertificate, BackendsRefusalsAreAnswered) {
    start();
    setBackendAnswers(R"({"delete":[{"code":404},{"code":400},
        {"code":500,"message":{"MessageId":"Own.1.0.Text","MessageArgs":["a"]}}]})");
    EXPECT_EQ(describeAnswer(send(deletion(CERTIFICATE, 1))),
              "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()");
    EXPECT_EQ(describeAnswer(send(deletion(CERTIFICATE, 2))),
              "FAILURE ExtendedError.1.2.BadRequest ()");
    EXPECT_EQ(describeAnswer(send(deletion(CERTIFICATE, 3))), "EXCEPTION Own.1.0.Text (a)");
}

TEST_F(DeleteCertificate, RecordWithoutFieldEndsTheDaemonAndHarmsNothing) {
    const FrontEndRequest request = deletion(CERTIFICATE);
    for (const std::string field : {"&&ReturnChannel", "&&TargetURI"}) {
        storeRequest(client, request);
        client.command("HDEL", request.requestKey, field);
        EXPECT_TRUE(abortsUnharmed(request)) << field;
    }
}

} // namespace
