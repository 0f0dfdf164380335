// The places in which a created certificate appears.

#include "requests/certificate_resource.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

class CertificateResource : public RequestFixture {
protected:
    static std::string supportedKey() {
        return "&&" + COLLECTION + "/@Redfish.SupportedCertificates";
    }
    bool isSupported(const std::string& type) {
        return isSupportedCertificateType(context(), COLLECTION, type);
    }
};

TEST_F(CertificateResource, SupportedTypesAreComparedWithTheirQuotes) {
    client.command("RPUSH", supportedKey(), "\"PEM\"", "\"PEMchain\"", "PKCS7");
    EXPECT_TRUE(isSupported("PEM"));
    EXPECT_TRUE(isSupported("PEMchain"));
    EXPECT_FALSE(isSupported("PKCS7")); // stored without quotes
    EXPECT_FALSE(isSupported("pem"));
    EXPECT_FALSE(isSupported("PEMch"));
    EXPECT_FALSE(isSupported("\"PEM\""));
    EXPECT_FALSE(isSupported(""));
}

TEST_F(CertificateResource, MissingOrUnreadableListSupportsNothing) {
    EXPECT_FALSE(isSupported("PEM"));
    client.command("SET", supportedKey(), "\"PEM\"");
    EXPECT_FALSE(isSupported("PEM"));
    const RedisProxy proxy(server, answerOnce({"LRANGE"}, CLOSE_CONNECTION));
    EXPECT_FALSE(isSupportedCertificateType(proxy.context(), COLLECTION, "PEM"));
}

TEST_F(CertificateResource, SupportedTypesAreReadWithOneCommand) {
    CommandMonitor monitor(server);
    EXPECT_FALSE(isSupported("PEM"));
    EXPECT_EQ(monitor.commands(), (Commands{{"LRANGE", supportedKey(), "0", "-1"}}));
}

CreateCertResult resultOfBackend() {
    CreateCertResult result;
    result.keyUsage = {"KeyEncipherment", "DigitalSignature"};
    result.issuer = {{"CommonName", "CA"}};
    result.subject = {{"CommonName", "host"}, {"Email", "a@b"}};
    result.validNotBefore = "then";
    result.validNotAfter = "later";
    result.certificateString = "backend";
    return result;
}

TEST_F(CertificateResource, BackendsValuesOverwriteTheBody) {
    json body = {{"CertificateString", "client"},
                 {"CertificateType", "PEM"},
                 {"Issuer", "client"},
                 {"KeyUsage", {"client"}}};
    addCertificateProperties(body, resultOfBackend());
    const json expected = {
        {"CertificateString", "backend"},
        {"CertificateType", "PEM"},
        {"Issuer", {{"CommonName", "CA"}, {"Email", nullptr}}},
        {"KeyUsage", {"KeyEncipherment", "DigitalSignature"}},
        {"Subject", {{"CommonName", "host"}, {"Email", "a@b"}}},
        {"ValidNotAfter", "later"},
        {"ValidNotBefore", "then"},
    };
    EXPECT_EQ(body, expected);
}

TEST_F(CertificateResource, EmptyMailAddressIsNull) {
    CreateCertResult result = resultOfBackend();
    result.issuer = {{"Email", ""}};
    result.subject = {};
    json body = json::object();
    addCertificateProperties(body, result);
    EXPECT_EQ(body["Issuer"].dump(), R"({"Email":null})");
    EXPECT_EQ(body["Subject"].dump(), R"({"Email":null})");
}

TEST_F(CertificateResource, NoKeyUsageIsAnEmptyArray) {
    CreateCertResult result = resultOfBackend();
    result.keyUsage = {};
    json body = json::object();
    addCertificateProperties(body, result);
    EXPECT_EQ(body["KeyUsage"].dump(), "[]");
}

TEST_F(CertificateResource, DefaultsOverwriteTheBody) {
    json body = {{"Name", "client"},        {"Id", "client"},           {"@odata.id", "client"},
                 {"@odata.etag", "client"}, {"@odata.type", "client"},  {"&&AllowMethod", "client"},
                 {"Description", "client"}, {"&&CRUDprefix", "client"}, {"CertificateType", "PEM"}};
    ASSERT_TRUE(createCertificateResource(context(), body, "1a", COLLECTION + "/1a"));
    auto stored = client.hash(COLLECTION + "/1a");
    EXPECT_NE(stored.at("@odata.etag"), "\"client\"");
    stored.erase("@odata.etag");
    EXPECT_EQ(stored,
              (std::map<std::string, std::string>{
                  {"Name", "\"HTTPS Certificate\""},
                  {"Id", "\"1a\""},
                  {"@odata.id", "\"" + COLLECTION + "/1a\""},
                  {"@odata.type", "\"#Certificate.v1_2_2.Certificate\""},
                  {"&&AllowMethod", "GET,HEAD,DELETE"},
                  {"Description", "\"The resource describes a certificate used to prove the "
                                  "identify of a component, account, or service.\""},
                  {"&&CRUDprefix", "&&/redfish/v1/CertificateService/CertificateCollection"},
                  {"CertificateType", "\"PEM\""}}));
}

TEST_F(CertificateResource, ResourceThatCannotBeWrittenIsReported) {
    json body = json::object();
    const RedisProxy proxy(server, answerOnce({"TYPE"}, HASH_TYPE_REPLY));
    EXPECT_FALSE(createCertificateResource(proxy.context(), body, "1a", COLLECTION + "/1a"));
}

TEST_F(CertificateResource, NewestMemberComesFirstAndIsCounted) {
    storeCertificateCollection(client, COLLECTION);
    for (const std::string id : {"a", "b", "c"}) {
        EXPECT_TRUE(addCollectionMember(context(), COLLECTION + "/" + id, COLLECTION));
    }
    EXPECT_EQ(client.list("&&" + COLLECTION + "/Members"),
              (std::vector<std::string>{"&&ObjectRef " + COLLECTION + "/c",
                                        "&&ObjectRef " + COLLECTION + "/b",
                                        "&&ObjectRef " + COLLECTION + "/a"}));
    EXPECT_EQ(client.hash(COLLECTION).at("Members@odata.count"), "3");
}

TEST_F(CertificateResource, MemberChangesCountAndTagOnly) {
    storeCertificateCollection(client, COLLECTION);
    CommandMonitor monitor(server);
    EXPECT_TRUE(addCollectionMember(context(), "/c/1", COLLECTION));
    EXPECT_EQ(commandText(monitor.commands()), "LPUSH &&" + COLLECTION +
                                                   "/Members \"&&ObjectRef /c/1\"\n"
                                                   "INCR Array-Member-Sequence-ID\n"
                                                   "HSET " +
                                                   COLLECTION +
                                                   " @odata.etag \"\\\"\\\\\\\"ETAG\\\\\\\"\\\"\"\n"
                                                   "HSET " +
                                                   COLLECTION + " Members@odata.count 1\n");
}

TEST_F(CertificateResource, MemberListThatIsNoListIsReported) {
    client.command("SET", "&&" + COLLECTION + "/Members", "no list");
    CommandMonitor monitor(server);
    EXPECT_FALSE(addCollectionMember(context(), "/c/1", COLLECTION));
    EXPECT_EQ(monitor.commands().size(), 1U);
    EXPECT_EQ(log(), "");
}

TEST_F(CertificateResource, LocationIsLinkedAndTagged) {
    CommandMonitor monitor(server);
    EXPECT_TRUE(addCertificateLocation(context(), "/c/1", "&&/links"));
    EXPECT_EQ(commandText(monitor.commands()), "LPUSH &&/links \"&&ObjectRef /c/1\"\n"
                                               "HSET " +
                                                   LOCATIONS + " @odata.etag \"\\\"ETAG\\\"\"\n");
}

TEST_F(CertificateResource, LinksThatAreNoListAreReported) {
    client.command("SET", "&&/links", "no list");
    CommandMonitor monitor(server);
    EXPECT_FALSE(addCertificateLocation(context(), "/c/1", "&&/links"));
    EXPECT_EQ(monitor.commands().size(), 1U);
    EXPECT_EQ(log(), "");
}

TEST_F(CertificateResource, FailedLocationsTagIsIgnored) {
    client.command("SET", LOCATIONS, "no hash");
    EXPECT_TRUE(addCertificateLocation(context(), "/c/1", "&&/links"));
    EXPECT_EQ(client.list("&&/links"), std::vector<std::string>{"&&ObjectRef /c/1"});
}

} // namespace
