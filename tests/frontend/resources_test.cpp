// init, get and action.

#include "tests/frontend/front_end_program.h"
#include "tests/support/request.h"

namespace {

using nlohmann::json;
using Resources = FrontEndTest;

TEST_F(Resources, AreShownAsTheDaemonsClientsSeeThem) {
    storeResource(client, "/x", R"({"Name": "a \"b\"\nc", "Members": [{"@odata.id": "/x/1"}],
        "N": 1, "&&Hidden": "yes"})");
    const ProgramResult result = runFrontEnd({"get", "/x"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "{\n"
                             "  \"Members\": [\n"
                             "    {\n"
                             "      \"@odata.id\": \"/x/1\"\n"
                             "    }\n"
                             "  ],\n"
                             "  \"N\": 1,\n"
                             "  \"Name\": \"a \\\"b\\\"\\nc\"\n"
                             "}\n");
}

TEST_F(Resources, ShowTheRecordsBehindThem) {
    client.command("HSET", "/x", "Name", "\"a\n\x1b[31m\"", "&&Array L &&/x/L", "", "&&Hidden",
                   "yes");
    client.command("RPUSH", "&&/x/L", "1", "&&ObjectRef /y");
    const ProgramResult words = runFrontEnd({"get", "--raw", "/x"});
    EXPECT_EQ(words.output, "/x  (hash)\n"
                            "    &&Array L &&/x/L\n"
                            "    &&Hidden = yes\n"
                            "    Name = \"a\\n\\x1b[31m\"\n"
                            "&&/x/L  (list)\n"
                            "    [0] 1\n"
                            "    [1] &&ObjectRef /y\n");
    const json expected = {
        {{"key", "/x"},
         {"type", "hash"},
         {"fields", {{"Name", "\"a\n\x1b[31m\""}, {"&&Array L &&/x/L", ""}, {"&&Hidden", "yes"}}}},
        {{"key", "&&/x/L"}, {"type", "list"}, {"entries", {"1", "&&ObjectRef /y"}}}};
    EXPECT_EQ(runFrontEnd({"get", "--raw", "/x", "--json"}).json(), expected);
}

TEST_F(Resources, ThatAreNotThereAreRefused) {
    const ProgramResult result = runFrontEnd({"get", "/nowhere"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "certificatectl: There is no resource at /nowhere.\n");
}

TEST_F(Resources, OfTheDaemonsStartUpSurviveInit) {
    startDaemon();
    const std::string before = client.dumpAll();
    const ProgramResult result = runFrontEnd({"init"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "was there /redfish/v1/CertificateService\n"
                             "was there /redfish/v1/CertificateService/CertificateLocations\n"
                             "was there " +
                                 COLLECTION +
                                 "\n"
                                 "was there /redfish/v1/EventService\n"
                                 "was there the event script\n"
                                 "was there /redfish/v1/TaskService\n"
                                 "was there default values\n");
    EXPECT_EQ(client.dumpAll(), before);
    const auto service = client.hash("/redfish/v1/CertificateService");
    EXPECT_EQ(service.at("&&POSTValidation"), "v_CertificateService.json");
    EXPECT_EQ(service.at("&&SensitiveData"), "ChallengePassword");
}

TEST_F(Resources, IncludeTheCollectionsThatInitIsTold) {
    const ProgramResult result = runFrontEnd({"init", "--json", "--collection", "/a/Certificates/",
                                              "--collection", "/b/TrustedCertificates"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.json()["collections"], json({"/a/Certificates", "/b/TrustedCertificates"}));
    for (const char* uri : {"/a/Certificates", "/b/TrustedCertificates"}) {
        EXPECT_EQ(runFrontEnd({"get", uri}).json()["Members@odata.count"], 0) << uri;
    }
}

TEST_F(Resources, AreSeededForADaemonThatStartsLater) {
    startDaemon();
    const auto action =
        client.hash("&&/redfish/v1/CertificateService/Actions/#CertificateService.GenerateCSR");
    EXPECT_EQ(action.at("&&Async"), "HidePayload");
    EXPECT_EQ(action.at("target"),
              "\"/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR\"");
}

TEST_F(Resources, HaveNoActionOfAnyOtherName) {
    startDaemon();
    const ProgramResult result = runFrontEnd({"action", "/redfish/v1/CertificateService/Rekey"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors,
              "Refused: The service has no action '/redfish/v1/CertificateService/Rekey'.\n"
              "  status      FAILURE\n"
              "  message     Base.1.9.ActionNotSupported\n");
}

TEST_F(Resources, TakeActionsWithABodyOfOnesOwn) {
    startDaemon();
    const std::string body =
        R"({"CommonName": "a", "CertificateCollection": {"@odata.id": ")" + COLLECTION + R"("}})";
    const ProgramResult result = runFrontEnd(
        {"action", "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR",
         "--body", fileWith(body)});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.json()["status"], "OK_RES");
    EXPECT_EQ(result.json()["response"]["CertificateCollection"]["@odata.id"], COLLECTION);
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
}

} // namespace
