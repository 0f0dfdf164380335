// init, get and action.

#include "tests/frontend/front_end_program.h"
#include "tests/support/request.h"

namespace {

using nlohmann::json;
using Resources = FrontEndTest;

TEST_F(Resources, AResourceIsShownAsClientsOfTheServiceSeeIt) {
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

TEST_F(Resources, TheRecordsBehindAResourceAreShownWithoutControlCharacters) {
    client.command("HSET", "/x", "Name", "\"a\n\t\x1b[31m\x7fß\"", "&&Array L &&/x/L", "",
                   "&&Hidden", "yes");
    client.command("RPUSH", "&&/x/L", "1", "&&ObjectRef /y");
    const ProgramResult words = runFrontEnd({"get", "--raw", "/x"});
    EXPECT_EQ(words.output, "/x  (hash)\n"
                            "    &&Array L &&/x/L\n"
                            "    &&Hidden = yes\n"
                            "    Name = \"a\\n\\t\\x1b[31m\\x7fß\"\n"
                            "&&/x/L  (list)\n"
                            "    [0] 1\n"
                            "    [1] &&ObjectRef /y\n");
    const json expected = {
        {{"key", "/x"},
         {"type", "hash"},
         {"fields",
          {{"Name", "\"a\n\t\x1b[31m\x7fß\""}, {"&&Array L &&/x/L", ""}, {"&&Hidden", "yes"}}}},
        {{"key", "&&/x/L"}, {"type", "list"}, {"entries", {"1", "&&ObjectRef /y"}}}};
    EXPECT_EQ(runFrontEnd({"get", "--raw", "/x", "--json"}).json(), expected);
}

TEST_F(Resources, AResourceThatIsNotThereIsReported) {
    EXPECT_EQ(runFrontEnd({"get", "/nowhere"}),
              (ProgramResult{1, "", "certificatectl: There is no resource at /nowhere.\n"}));
}

TEST_F(Resources, InitAndTheDaemonsStartKeepWhatTheOtherHasSetUp) {
    startDaemon();
    const std::string before = client.dumpAll();
    EXPECT_EQ(runFrontEnd({"init"}),
              (ProgramResult{0,
                             "was there /redfish/v1/CertificateService\n"
                             "was there /redfish/v1/CertificateService/CertificateLocations\n"
                             "was there " +
                                 COLLECTION +
                                 "\n"
                                 "was there /redfish/v1/EventService\n"
                                 "was there the event script\n"
                                 "was there /redfish/v1/TaskService\n"
                                 "was there default values\n",
                             ""}));
    EXPECT_EQ(client.dumpAll(), before);
    const auto service = client.hash("/redfish/v1/CertificateService");
    EXPECT_EQ(service.at("&&POSTValidation"), "v_CertificateService.json");
    EXPECT_EQ(service.at("&&SensitiveData"), "ChallengePassword");
    const auto action =
        client.hash("&&/redfish/v1/CertificateService/Actions/#CertificateService.GenerateCSR");
    EXPECT_EQ(action.at("&&Async"), "HidePayload");
    EXPECT_EQ(action.at("target"),
              "\"/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR\"");
}

TEST_F(Resources, InitSetsUpTheCollectionsThatItIsGiven) {
    const ProgramResult result = runFrontEnd({"init", "--json", "--collection", "/a/Certificates/",
                                              "--collection", "/b/TrustedCertificates"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.json()["collections"], json({"/a/Certificates", "/b/TrustedCertificates"}));
    for (const char* uri : {"/a/Certificates", "/b/TrustedCertificates"}) {
        EXPECT_EQ(runFrontEnd({"get", uri}).json()["Members@odata.count"], 0) << uri;
    }
}

TEST_F(Resources, AnActionOfAnotherNameIsRefused) {
    startDaemon();
    EXPECT_EQ(runFrontEnd({"action", "/redfish/v1/CertificateService/Rekey"}),
              (ProgramResult{1, "",
                             "Refused: The service has no action "
                             "'/redfish/v1/CertificateService/Rekey'.\n"
                             "  status      FAILURE\n"
                             "  message     Base.1.9.ActionNotSupported\n"}));
}

TEST_F(Resources, AnActionThatIsRefusedWithoutABodyIsToldSo) {
    startDaemon();
    const ProgramResult result = runFrontEnd(
        {"action", "/redfish/v1/CertificateService/Actions/CertificateService.GenerateCSR"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors,
                testing::EndsWith("\n  The request had no body; --body FILE gives it one.\n"));
}

TEST_F(Resources, AnActionIsSentWithABodyOfOnesOwn) {
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
