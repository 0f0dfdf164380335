// What a front end keeps: seeded, added to, tidied after a deletion and a replacement.

#include "frontend/exchange/stored_tree.h"
#include "frontend/records/certificate_records.h"
#include "frontend/records/event_script.h"
#include "frontend/records/seed_records.h"
#include "tests/support/certificates.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using testing::Each;
using testing::StartsWith;

const std::string SERVICE = "/redfish/v1/CertificateService";
const std::string LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations";
const std::string LINKS =
    "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates";
const std::string COLLECTION = DEFAULT_COLLECTION_URI;

class FrontEndRecords : public testing::Test {
protected:
    SeedReport seed() {
        return seedRecords(client.context(), {COLLECTION});
    }

    RedisServer server;
    RedisClient client{server};
};

TEST_F(FrontEndRecords, AreSetUpInAnEmptyDatabase) {
    EXPECT_THAT(seed(), Each(StartsWith("set up")));
    const json service = readDocument(client.context(), SERVICE);
    EXPECT_EQ(service["CertificateLocations"]["@odata.id"], LOCATIONS);
    EXPECT_EQ(service["Actions"]["#CertificateService.GenerateCSR"]["target"],
              "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR");
    EXPECT_EQ(readDocument(client.context(), LOCATIONS)["Links"]["Certificates"], json::array());
    const json collection = readDocument(client.context(), COLLECTION);
    EXPECT_EQ(collection["Members"], json::array());
    EXPECT_EQ(collection["Members@odata.count"], 0);
    EXPECT_EQ(client.hash(COLLECTION)["@odata.type"],
              "\"#CertificateCollection.CertificateCollection\"");
    EXPECT_EQ(client.list("&&" + COLLECTION + "/@Redfish.SupportedCertificates"),
              (std::vector<std::string>{"\"PEM\"", "\"PEMchain\"", "\"PKCS7\""}));
    const std::map<std::string, std::string> defaults = {
        {"MAX_EVENT_GROUP_ID", "1000000"}, {"REDIS_CONNECTION_DEFAULT_TIMEOUT", "5000"}};
    EXPECT_EQ(client.hash("webDefaultValue"), defaults);
}

TEST_F(FrontEndRecords, StayAsTheyAreWhenSetUpAgain) {
    (void)seed();
    const std::string before = client.dumpAll();
    EXPECT_THAT(seed(), Each(StartsWith("was there")));
    EXPECT_EQ(client.dumpAll(), before);
}

TEST_F(FrontEndRecords, AreAddedToWhatIsThere) {
    const std::string member = COLLECTION + "/1";
    client.command("HSET", SERVICE, "&&POSTValidation", "v_CertificateService.json",
                   "&&SensitiveData", "ChallengePassword", "Name", "\"My name\"");
    client.command("HSET", "&&" + SERVICE + "/Actions/#CertificateService.GenerateCSR", "&&Async",
                   "HidePayload");
    client.command("RPUSH", LINKS, "&&ObjectRef " + member);
    client.command("RPUSH", "&&" + COLLECTION + "/Members", "&&ObjectRef " + member);
    client.command("RPUSH", "&&" + COLLECTION + "/@Redfish.SupportedCertificates", "\"PEM\"");
    client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "3");
    (void)seed();
    auto service = client.hash(SERVICE);
    EXPECT_EQ(service["&&POSTValidation"], "v_CertificateService.json");
    EXPECT_EQ(service["&&SensitiveData"], "ChallengePassword");
    EXPECT_EQ(service["Name"], "\"My name\"");
    EXPECT_EQ(client.hash("&&" + SERVICE + "/Actions/#CertificateService.GenerateCSR")["&&Async"],
              "HidePayload");
    const json reference = json::array({{{"@odata.id", member}}});
    EXPECT_EQ(readDocument(client.context(), LOCATIONS)["Links"]["Certificates"], reference);
    const json collection = readDocument(client.context(), COLLECTION);
    EXPECT_EQ(collection["Members"], reference);
    EXPECT_EQ(collection["Members@odata.count"], 1);
    EXPECT_EQ(collection["@Redfish.SupportedCertificates"], json::array({"PEM"}));
    EXPECT_EQ(client.hash("webDefaultValue")["MAX_EVENT_GROUP_ID"], "3");
}

TEST_F(FrontEndRecords, KeepAScriptThatSomebodyElseHasLoaded) {
    const std::string digest = client.command("SCRIPT", "LOAD", "return 1").text;
    client.command("HSET", "redisSHAScripts", "resourceChange", digest);
    EXPECT_FALSE(loadEventScript(client.context()));
    EXPECT_EQ(client.hash("redisSHAScripts")["resourceChange"], digest);
}

TEST_F(FrontEndRecords, HaveTheirScriptAgainAfterRedisHasForgottenIt) {
    EXPECT_TRUE(loadEventScript(client.context()));
    EXPECT_FALSE(loadEventScript(client.context()));
    client.command("SCRIPT", "FLUSH");
    EXPECT_TRUE(loadEventScript(client.context()));
    const std::string digest = client.hash("redisSHAScripts")["resourceChange"];
    EXPECT_EQ(client.command("SCRIPT", "EXISTS", digest).elements.front().integer, 1);
}

TEST_F(FrontEndRecords, RaiseOneEventForEachGroupOfFiveKeys) {
    (void)loadEventScript(client.context());
    const std::string digest = client.hash("redisSHAScripts")["resourceChange"];
    RedisClient subscriber(server);
    subscriber.command("SUBSCRIBE", RESOURCE_EVENT_CHANNEL);
    const RedisAnswer reply =
        client.command("EVALSHA", digest, "10", "add", "/a/\"1\"", "Certificate", "EventGroupId",
                       "7", "change", "/a", "CertificateCollection", "EventGroupId", "7");
    EXPECT_EQ(reply.type, RedisAnswer::Type::INTEGER);
    EXPECT_EQ(reply.integer, 2);
    RedisAnswer message;
    ASSERT_TRUE(subscriber.nextMessage(message, 10.0));
    auto event = parseEvent(message.texts().back());
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(event->operation, "add");
    EXPECT_EQ(event->uri, "/a/\"1\"");
    EXPECT_EQ(event->groupId, "7");
    ASSERT_TRUE(subscriber.nextMessage(message, 10.0));
    event = parseEvent(message.texts().back());
    ASSERT_TRUE(event.has_value());
    EXPECT_EQ(event->type, "CertificateCollection");
}

TEST_F(FrontEndRecords, RefuseEventsThatAreNoGroupsWithAPairOfTexts) {
    (void)loadEventScript(client.context());
    const std::string digest = client.hash("redisSHAScripts")["resourceChange"];
    const std::vector<std::string> refusal = {"-1", "resource events come in groups of five keys"};
    EXPECT_EQ(client.command("EVALSHA", digest, "2", "add", "/a").texts(), refusal);
    EXPECT_EQ(client.command("EVALSHA", digest, "0").texts(), refusal);
}

TEST_F(FrontEndRecords, LoseARemovedCertificateAndNoOther) {
    (void)seed();
    for (const std::string id : {"1", "2"}) {
        storeResource(client, COLLECTION + "/" + id, R"({"Id": "x", "Subject": {"A": "b"}})");
        client.command("LPUSH", "&&" + COLLECTION + "/Members",
                       "&&ObjectRef " + COLLECTION + "/" + id);
        client.command("LPUSH", LINKS, "&&ObjectRef " + COLLECTION + "/" + id);
    }
    auto before = client.hash(COLLECTION);
    removeCertificateRecords(client.context(), COLLECTION + "/1");
    EXPECT_TRUE(readDocument(client.context(), COLLECTION + "/1").is_null());
    EXPECT_TRUE(client.hash("&&" + COLLECTION + "/1/Subject").empty());
    EXPECT_FALSE(readDocument(client.context(), COLLECTION + "/2").is_null());
    const std::vector<std::string> other = {"&&ObjectRef " + COLLECTION + "/2"};
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"), other);
    EXPECT_EQ(client.list(LINKS), other);
    EXPECT_EQ(client.hash(COLLECTION)["Members@odata.count"], "1");
    EXPECT_NE(client.hash(COLLECTION)["@odata.etag"], before["@odata.etag"]);
}

TEST_F(FrontEndRecords, TakeTheNewPropertiesOfAReplacedCertificate) {
    const std::string uri = COLLECTION + "/1";
    storeResource(
        client, uri,
        R"({"Id": "1", "Subject": {"CommonName": "old", "City": "Gone"},)"
        R"( "KeyUsage": ["CodeSigning", "KeyAgreement"], "CertificateType": "PEMchain"})");
    client.command("HSET", uri, "&&CertPrivateKey", "/keys/1");
    const TestCertificate fresh = makeSelfSigned();
    EXPECT_TRUE(refreshCertificateRecords(client.context(), uri,
                                          fresh.privateKey + fresh.certificate, "PEM"));
    const json resource = readDocument(client.context(), uri);
    const json subject = {
        {"CommonName", "test.example"}, {"Email", nullptr}, {"DisplayString", "CN=test.example"}};
    EXPECT_EQ(resource["Subject"], subject);
    EXPECT_EQ(resource["CertificateString"], fresh.certificate);
    EXPECT_EQ(resource["KeyUsage"], json::array());
    EXPECT_EQ(resource["CertificateType"], "PEM");
    EXPECT_EQ(resource["Id"], "1");
    EXPECT_EQ(resource["&&CertPrivateKey"], "/keys/1");
}

TEST_F(FrontEndRecords, KeepTheOldPropertiesWhenTheNewTextCannotBeRead) {
    const std::string uri = COLLECTION + "/1";
    storeResource(client, uri, R"({"Id": "1", "Subject": {"CommonName": "old"}})");
    const std::string before = client.dumpAll();
    EXPECT_FALSE(refreshCertificateRecords(client.context(), uri, "nothing", "PEM"));
    EXPECT_EQ(client.dumpAll(), before);
}

} // namespace
