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
using testing::ElementsAre;

const std::string SERVICE = "/redfish/v1/CertificateService";
const std::string LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations";
const std::string LINKS =
    "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates";
const std::string COLLECTION = DEFAULT_COLLECTION_URI;

class FrontEndRecords : public testing::Test {
protected:
    // Whether something was missing, for each record.
    std::vector<bool> seed() {
        std::vector<bool> added;
        for (const SeededRecord& record : seedRecords(client.context(), {COLLECTION})) {
            added.push_back(record.added);
        }
        return added;
    }

    // The digest of the event script, once it is loaded.
    std::string scriptDigest() {
        (void)loadEventScript(client.context());
        return client.hash("redisSHAScripts")["resourceChange"];
    }

    RedisServer server;
    RedisClient client{server};
};

TEST_F(FrontEndRecords, AnEmptyDatabaseGetsAllOfThem) {
    EXPECT_THAT(seed(), Each(true));
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

TEST_F(FrontEndRecords, SettingThemUpAgainChangesNothing) {
    (void)seed();
    const std::string before = client.dumpAll();
    EXPECT_THAT(seed(), Each(false));
    EXPECT_EQ(client.dumpAll(), before);
}

TEST_F(FrontEndRecords, WhatIsThereIsKept) {
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

TEST_F(FrontEndRecords, AnotherScriptThatIsLoadedIsKept) {
    const std::string digest = client.command("SCRIPT", "LOAD", "return 1").text;
    client.command("HSET", "redisSHAScripts", "resourceChange", digest);
    EXPECT_FALSE(loadEventScript(client.context()));
    EXPECT_EQ(client.hash("redisSHAScripts")["resourceChange"], digest);
}

TEST_F(FrontEndRecords, AScriptThatRedisHasForgottenIsLoadedAgain) {
    EXPECT_TRUE(loadEventScript(client.context()));
    EXPECT_FALSE(loadEventScript(client.context()));
    client.command("SCRIPT", "FLUSH");
    EXPECT_TRUE(loadEventScript(client.context()));
    EXPECT_EQ(client.command("SCRIPT", "EXISTS", scriptDigest()).elements.front().integer, 1);
}

TEST_F(FrontEndRecords, EachGroupOfFiveKeysRaisesOneEvent) {
    const std::string digest = scriptDigest();
    RedisClient subscriber(server);
    subscriber.command("SUBSCRIBE", RESOURCE_EVENT_CHANNEL);
    const RedisAnswer reply =
        client.command("EVALSHA", digest, "10", "add", "/a/\"1\"", "Certificate", "EventGroupId",
                       "7", "change", "/a", "CertificateCollection", "EventGroupId", "8");
    EXPECT_EQ(reply.type, RedisAnswer::Type::INTEGER);
    EXPECT_EQ(reply.integer, 2);
    std::vector<std::string> texts;
    for (const std::string uri : {"/a/\"1\"", "/a"}) {
        RedisAnswer message;
        ASSERT_TRUE(subscriber.nextMessage(message, 10.0));
        const auto event = parseEvent(message.texts().back());
        ASSERT_TRUE(event.has_value());
        EXPECT_EQ(event->uri, uri);
        texts.push_back(event->operation + " " + event->type + " " + event->groupId);
    }
    EXPECT_THAT(texts, ElementsAre("add Certificate 7", "change CertificateCollection 8"));
}

TEST_F(FrontEndRecords, KeysThatAreNoGroupsOfFiveRaiseNoEvent) {
    const std::string digest = scriptDigest();
    const std::vector<std::string> refusal = {"-1", "resource events come in groups of five keys"};
    EXPECT_EQ(client.command("EVALSHA", digest, "2", "add", "/a").texts(), refusal);
    EXPECT_EQ(client.command("EVALSHA", digest, "0").texts(), refusal);
}

TEST(ResourceEvents, ATextOfAnotherFormIsNoEvent) {
    for (const char* text : {"", "add /x", "[]", "{}", R"({"Operation":"add"})", R"({"URI":5})"}) {
        EXPECT_FALSE(parseEvent(text).has_value()) << text;
    }
}

TEST_F(FrontEndRecords, ARemovedCertificateDisappearsAndNoOther) {
    (void)seed();
    for (const std::string id : {"1", "2"}) {
        storeResource(client, COLLECTION + "/" + id, R"({"Id": "x", "Subject": {"A": "b"}})");
        client.command("LPUSH", "&&" + COLLECTION + "/Members",
                       "&&ObjectRef " + COLLECTION + "/" + id);
        client.command("LPUSH", LINKS, "&&ObjectRef " + COLLECTION + "/" + id);
    }
    for (const std::string& uri : {COLLECTION, LOCATIONS}) {
        client.command("HSET", uri, "@odata.etag", "\"old\"");
    }
    removeCertificateRecords(client.context(), COLLECTION + "/1");
    EXPECT_TRUE(readDocument(client.context(), COLLECTION + "/1").is_null());
    EXPECT_TRUE(client.hash("&&" + COLLECTION + "/1/Subject").empty());
    EXPECT_FALSE(readDocument(client.context(), COLLECTION + "/2").is_null());
    const std::vector<std::string> other = {"&&ObjectRef " + COLLECTION + "/2"};
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"), other);
    EXPECT_EQ(client.list(LINKS), other);
    EXPECT_EQ(client.hash(COLLECTION)["Members@odata.count"], "1");
    for (const std::string& uri : {COLLECTION, LOCATIONS}) {
        EXPECT_THAT(client.hash(uri)["@odata.etag"], testing::ContainsRegex("[0-9]{13}"));
    }
}

TEST_F(FrontEndRecords, AReplacedCertificateShowsItsNewProperties) {
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
    const json subject = {{"CommonName", "test.example"}, {"Email", nullptr}};
    EXPECT_EQ(resource["Subject"], subject);
    EXPECT_EQ(resource["CertificateString"], fresh.certificate);
    EXPECT_EQ(resource["KeyUsage"], json::array());
    EXPECT_EQ(resource["CertificateType"], "PEM");
    EXPECT_EQ(resource["Id"], "1");
    EXPECT_EQ(resource["&&CertPrivateKey"], "/keys/1");
}

TEST_F(FrontEndRecords, ATextThatCannotBeReadChangesNoProperty) {
    const std::string uri = COLLECTION + "/1";
    storeResource(client, uri, R"({"Id": "1", "Subject": {"CommonName": "old"}})");
    const std::string before = client.dumpAll();
    EXPECT_FALSE(refreshCertificateRecords(client.context(), uri, "nothing", "PEM"));
    EXPECT_EQ(client.dumpAll(), before);
}

} // namespace
