// The places in which a created certificate appears.

#include "requests/certificate_resource.h"
#include "requests/supported_types.h"
#include "tests/requests/expected_commands.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

const std::string MEMBERS_KEY = "&&" + COLLECTION + "/Members";
const std::string TYPES_KEY = "&&" + COLLECTION + "/@Redfish.SupportedCertificates";

class CertificateResource : public RequestFixture {
protected:
    bool isSupported(const std::string& type) {
        return isSupportedCertificateType(context(), COLLECTION, type);
    }
};

TEST_F(CertificateResource, TypesAreComparedWithTheirQuotesAndCase) {
    client.command("RPUSH", TYPES_KEY, "\"PEM\"", "\"PEMchain\"", "PKCS7");
    EXPECT_EQ(commandsOf([this] { EXPECT_TRUE(isSupported("PEM")); }),
              "LRANGE " + TYPES_KEY + " 0 -1\n");
    EXPECT_TRUE(isSupported("PEMchain"));
    for (const std::string type : {"PKCS7", "pem", "PEMch", "\"PEM\"", ""}) {
        EXPECT_FALSE(isSupported(type)) << type;
    }
}

TEST_F(CertificateResource, TypesOfAMissingOrUnreadableListAreNone) {
    EXPECT_FALSE(isSupported("PEM"));
    client.command("SET", TYPES_KEY, "\"PEM\"");
    EXPECT_FALSE(isSupported("PEM"));
    const RedisProxy proxy(server, answerOnce({"LRANGE"}, CLOSE_CONNECTION));
    EXPECT_FALSE(isSupportedCertificateType(proxy.context(), COLLECTION, "PEM"));
}

TEST_F(CertificateResource, EmptyValuesOfTheBackendAreANullMailAddressAndAnEmptyKeyUsage) {
    CreateCertResult result;
    result.issuer = {{"Email", ""}};
    json body = json::object();
    addCertificateProperties(body, result);
    EXPECT_EQ(body["Issuer"].dump(), R"({"Email":null})");
    EXPECT_EQ(body["Subject"].dump(), R"({"Email":null})");
    EXPECT_EQ(body["KeyUsage"].dump(), "[]");
}

TEST_F(CertificateResource, ThatCannotBeWrittenIsReported) {
    json body = json::object();
    const RedisProxy proxy(server, answerOnce({"TYPE"}, HASH_TYPE_REPLY));
    EXPECT_FALSE(createCertificateResource(proxy.context(), body, "1a", COLLECTION + "/1a"));
}

TEST_F(CertificateResource, NewestMemberComesFirstAndChangesCountAndTagOnly) {
    storeCertificateCollection(client, COLLECTION);
    EXPECT_TRUE(addCollectionMember(context(), "/c/1", COLLECTION));
    EXPECT_EQ(
        commandsOf([this] { EXPECT_TRUE(addCollectionMember(context(), "/c/2", COLLECTION)); }),
        filled(R"(LPUSH &&{COLLECTION}/Members "&&ObjectRef /c/2"
INCR Array-Member-Sequence-ID
HSET {COLLECTION} @odata.etag "\"\\\"ETAG\\\"\""
HSET {COLLECTION} Members@odata.count 2
)"));
    EXPECT_EQ(client.list(MEMBERS_KEY),
              (std::vector<std::string>{"&&ObjectRef /c/2", "&&ObjectRef /c/1"}));
}

TEST_F(CertificateResource, LinksThatAreNoListEndTheLinkingSilently) {
    client.command("SET", MEMBERS_KEY, "no list");
    client.command("SET", "&&/links", "no list");
    CommandMonitor monitor(server);
    EXPECT_FALSE(addCollectionMember(context(), "/c/1", COLLECTION));
    EXPECT_FALSE(addCertificateLocation(context(), "/c/1", "&&/links"));
    EXPECT_EQ(monitor.commands().size(), 2U);
    EXPECT_EQ(log(), "");
}

TEST_F(CertificateResource, LocationsTagThatCannotBeSetIsIgnored) {
    client.command("SET", LOCATIONS, "no hash");
    EXPECT_TRUE(addCertificateLocation(context(), "/c/1", "&&/links"));
    EXPECT_EQ(client.list("&&/links"), std::vector<std::string>{"&&ObjectRef /c/1"});
}

} // namespace
