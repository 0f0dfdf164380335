// Root, managers, certificate service, collections and certificates: what reading them gives.

#include "frontend/web/service/installation_uuid.h"
#include "tests/support/certificates.h"
#include "tests/web/redfish_schema.h"
#include "tests/web/resource_requests.h"

#include <gmock/gmock.h>

namespace {

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;

const std::string LOCATIONS = "/redfish/v1/CertificateService/CertificateLocations";
const std::string LINKS =
    "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates";

std::vector<std::string> uris(const json& references) {
    std::vector<std::string> list;
    for (const json& reference : references) {
        list.push_back(reference["@odata.id"]);
    }
    return list;
}

} // namespace

TEST_F(ResourceRequests, EveryDocumentIsValidForItsSchemaAndStandsAtItsUri) {
    install(COLLECTION + "/1", makeSelfSigned().certificate);
    for (const std::string& uri :
         {std::string("/redfish/v1/"), std::string("/redfish/v1"),
          std::string("/redfish/v1/Managers"), std::string("/redfish/v1/Managers/1"),
          std::string("/redfish/v1/Managers/1/NetworkProtocol"),
          std::string("/redfish/v1/CertificateService"), LOCATIONS, COLLECTION, OTHER_COLLECTION,
          COLLECTION + "/1"}) {
        const HttpAnswer answer = send("GET", uri);
        ASSERT_EQ(answer.status, 200) << uri;
        const json document = json::parse(answer.body);
        EXPECT_THAT(schemaFaults(document), IsEmpty()) << uri;
        EXPECT_EQ(document["@odata.id"], uri);
        EXPECT_THAT(answer.body, Not(ContainsRegex("&&|secret|PRIVATE"))) << uri;
        EXPECT_THAT(headerOf(answer, "Allow"), HasSubstr("GET, HEAD")) << uri;
        EXPECT_THAT(headerOf(answer, "ETag"), MatchesRegex("\"[^\"]+\"")) << uri;
        EXPECT_THAT(headerOf(answer, "Link"), HasSubstr("rel=describedby")) << uri;
        EXPECT_THAT(send("GET", "/redfish/v1/$metadata").body,
                    HasSubstr(document["@odata.type"].get<std::string>().substr(
                        1, document["@odata.type"].get<std::string>().rfind('.') - 1)))
            << uri;
    }
}

TEST_F(ResourceRequests, WhatDescribesTheServiceIsOpenAndNothingElseIs) {
    for (const char* uri :
         {"/redfish", "/redfish/", "/redfish/v1", "/redfish/v1/", "/redfish/v1/odata",
          "/redfish/v1/$metadata", "/redfish/v1/%24metadata"}) {
        EXPECT_EQ(sendWithoutLogin("GET", uri).status, 200) << uri;
        EXPECT_EQ(sendWithoutLogin("POST", uri).status, 405) << uri;
    }
    for (const std::string& uri : {std::string("/redfish/v1/Managers"), LOCATIONS, COLLECTION,
                                   COLLECTION + "/none", std::string("/redfish/v2")}) {
        const HttpAnswer answer = sendWithoutLogin("GET", uri);
        EXPECT_EQ(answer.status, 401) << uri;
        EXPECT_NE(headerOf(answer, "WWW-Authenticate"), "") << uri;
    }
}

TEST_F(ResourceRequests, VersionsAreExactlyOne) {
    EXPECT_EQ(send("GET", "/redfish").body, R"({"v1":"/redfish/v1/"})");
}

TEST_F(ResourceRequests, RootLinksAllServices) {
    EXPECT_THAT(linksOf(get("/redfish/v1/")),
                IsSupersetOf({"/redfish/v1/CertificateService", "/redfish/v1/EventService",
                              "/redfish/v1/Managers", "/redfish/v1/SessionService",
                              "/redfish/v1/SessionService/Sessions", "/redfish/v1/TaskService"}));
}

TEST_F(ResourceRequests, ServiceDocumentNamesTheRoot) {
    const json document = get("/redfish/v1/odata");
    EXPECT_EQ(document["@odata.context"], "/redfish/v1/$metadata");
    EXPECT_EQ(document["value"][0]["url"], "/redfish/v1/");
    for (const json& entry : document["value"]) {
        EXPECT_EQ(entry["kind"], "Singleton");
        EXPECT_THAT(entry["name"].get<std::string>(), MatchesRegex("[A-Za-z]+"));
    }
}

TEST_F(ResourceRequests, MetadataIsXmlWithAnEntityContainer) {
    const HttpAnswer answer = send("GET", "/redfish/v1/$metadata");
    EXPECT_EQ(headerOf(answer, "Content-Type"), "application/xml");
    EXPECT_THAT(answer.body, testing::StartsWith("<?xml"));
    EXPECT_THAT(answer.body, HasSubstr("<EntityContainer Name=\"Service\""));
}

TEST_F(ResourceRequests, NetworkProtocolTellsTheListenersPortAndCertificates) {
    service.port = 8443;
    const json https = {
        {"ProtocolEnabled", true}, {"Port", 8443}, {"Certificates", {{"@odata.id", COLLECTION}}}};
    EXPECT_EQ(get("/redfish/v1/Managers/1/NetworkProtocol")["HTTPS"], https);
    client.flushAll();
    service.port = 0;
    const json unknown = {{"ProtocolEnabled", true}};
    EXPECT_EQ(get("/redfish/v1/Managers/1/NetworkProtocol")["HTTPS"], unknown);
}

TEST_F(ResourceRequests, ActionsLeadToTheirInformation) {
    const json actions = get("/redfish/v1/CertificateService")["Actions"];
    EXPECT_EQ(actions["#CertificateService.GenerateCSR"]["@Redfish.ActionInfo"],
              "/redfish/v1/CertificateService/GenerateCSRActionInfo");
    EXPECT_EQ(actions["#CertificateService.ReplaceCertificate"]["@Redfish.ActionInfo"],
              "/redfish/v1/CertificateService/ReplaceCertificateActionInfo");
}

TEST_F(ResourceRequests, WhatIsNotSeededIsNotFound) {
    client.flushAll();
    for (const std::string& uri :
         {std::string("/redfish/v1/CertificateService"), LOCATIONS, COLLECTION}) {
        EXPECT_EQ(send("GET", uri).status, 404) << uri;
    }
}

TEST_F(ResourceRequests, LocationsAreTheMembersOfAllCollections) {
    const std::string text = makeSelfSigned().certificate;
    install(COLLECTION + "/1", text);
    install(COLLECTION + "/2", text);
    install(OTHER_COLLECTION + "/1", text);
    const json collection = get(COLLECTION);
    EXPECT_EQ(uris(collection["Members"]),
              (std::vector<std::string>{COLLECTION + "/2", COLLECTION + "/1"}));
    EXPECT_EQ(collection["Members@odata.count"], 2);
    const json links = get(LOCATIONS)["Links"];
    EXPECT_EQ(
        uris(links["Certificates"]),
        (std::vector<std::string>{COLLECTION + "/2", COLLECTION + "/1", OTHER_COLLECTION + "/1"}));
    EXPECT_EQ(links["Certificates@odata.count"], 3);
}

TEST_F(ResourceRequests, ListsThatDisagreeShowWhatIsThere) {
    const std::string text = makeSelfSigned().certificate;
    install(COLLECTION + "/1", text);
    install(COLLECTION + "/gone", text);
    client.command("DEL", COLLECTION + "/gone");
    client.command("LPUSH", "&&" + COLLECTION + "/Members", "&&ObjectRef " + COLLECTION + "/1",
                   "&&ObjectRef " + LOCATIONS, "&&ObjectRef " + OTHER_COLLECTION + "/1", "\"x\"");
    client.command("LREM", LINKS, "0", "&&ObjectRef " + COLLECTION + "/1");
    client.command("LPUSH", LINKS, "&&ObjectRef /redfish/v1/x/1");
    const std::vector<std::string> expected = {COLLECTION + "/1"};
    const json collection = get(COLLECTION);
    EXPECT_EQ(uris(collection["Members"]), expected);
    EXPECT_EQ(collection["Members@odata.count"], 1);
    EXPECT_EQ(uris(get(LOCATIONS)["Links"]["Certificates"]), expected);
    EXPECT_EQ(send("GET", COLLECTION + "/gone").status, 404);
}

TEST_F(ResourceRequests, NoOtherKeyIsReachable) {
    install(COLLECTION + "/1", makeSelfSigned().certificate);
    client.command("SET", "/redfish/v1/text", "secret");
    client.command("SET", COLLECTION + "/text", "secret");
    client.command("RPUSH", COLLECTION + "/list", "secret");
    client.command("HSET", COLLECTION + "/hash", "Name", "\"secret\"");
    client.command("HSET", COLLECTION + "/task", "@odata.type", "\"#Task.v1_4_3.Task\"", "Name",
                   "\"secret\"");
    client.command("HSET", "/redfish/v1/alone/1", "@odata.type",
                   "\"#Certificate.v1_2_2.Certificate\"");
    client.command("HSET", "outside", "@odata.type",
                   "\"#CertificateCollection.CertificateCollection\"");
    client.command("HSET", "/outside", "@odata.type",
                   "\"#CertificateCollection.CertificateCollection\"");
    for (const std::string& uri :
         {std::string("/redfish/v1/text"), COLLECTION + "/text", COLLECTION + "/list",
          COLLECTION + "/hash", COLLECTION + "/task", std::string("/redfish/v1/alone/1"),
          std::string("/outside"), std::string("outside"), std::string("/webDefaultValue"),
          std::string("webDefaultValue"), std::string("/redfish/v1/../webDefaultValue"),
          "&&" + COLLECTION + "/Members", "/&&" + COLLECTION + "/Members",
          "%26%26" + COLLECTION + "/Members", COLLECTION + "/1/Subject", COLLECTION + "//1",
          COLLECTION + "/1%00", COLLECTION + "/none", COLLECTION + "/1/../1"}) {
        const HttpAnswer answer = send("GET", uri);
        EXPECT_EQ(answer.status, 404) << uri;
        EXPECT_THAT(answer.body, Not(HasSubstr("secret"))) << uri;
        EXPECT_EQ(send("DELETE", uri).status, 404) << uri;
    }
}

TEST_F(ResourceRequests, EncodedAndSlashEndedPathsAreTheSame) {
    install(COLLECTION + "/1", makeSelfSigned().certificate);
    EXPECT_EQ(get(COLLECTION + "/%31/"), get(COLLECTION + "/1"));
}

TEST_F(ResourceRequests, MethodsThatAResourceLacksAreNamedWithThoseItHas) {
    install(COLLECTION + "/1", makeSelfSigned().certificate);
    struct Row {
        std::string uri;
        const char* method;
        const char* allowed;
    };
    for (const Row& row : std::vector<Row>{
             {COLLECTION, "DELETE", "GET, HEAD, POST"},
             {COLLECTION, "PATCH", "GET, HEAD, POST"},
             {COLLECTION + "/Members", "GET", "POST"},
             {COLLECTION + "/1", "POST", "GET, HEAD, DELETE"},
             {COLLECTION + "/1", "PATCH", "GET, HEAD, DELETE"},
             {LOCATIONS, "POST", "GET, HEAD"},
             {"/redfish/v1/Managers/1", "PATCH", "GET, HEAD"},
         }) {
        const HttpAnswer answer = send(row.method, row.uri);
        EXPECT_EQ(answer.status, 405) << row.uri;
        EXPECT_EQ(headerOf(answer, "Allow"), row.allowed) << row.uri;
    }
}

TEST_F(ResourceRequests, WithoutRedisTheServiceIsUnavailable) {
    server.stop();
    for (const std::string& uri : {LOCATIONS, COLLECTION}) {
        const HttpAnswer answer = send("GET", uri);
        EXPECT_EQ(answer.status, 503) << uri;
        EXPECT_NE(headerOf(answer, "Retry-After"), "") << uri;
        EXPECT_THAT(answer.body, HasSubstr("Redis is not there")) << uri;
    }
    server.start();
    EXPECT_EQ(send("GET", COLLECTION).status, 404); // the data went with the server
}

TEST(InstallationUuid, IsTheSameForTheSameMachineAndAnotherForAnother) {
    const std::string uuid = uuidOf("0123456789abcdef0123456789abcdef");
    EXPECT_THAT(uuid, MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-8[0-9a-f]{3}-[89ab][0-9a-f]{3}-"
                                   "[0-9a-f]{12}"));
    EXPECT_EQ(uuidOf("0123456789abcdef0123456789abcdef"), uuid);
    EXPECT_NE(uuidOf("0123456789abcdef0123456789abcdee"), uuid);
}
