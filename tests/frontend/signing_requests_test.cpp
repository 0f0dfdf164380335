// generate-csr and tasks.

#include "tests/frontend/front_end_program.h"
#include "tests/support/certificates.h"
#include "tests/support/command_monitor.h"
#include "tests/support/fake_backend.h"
#include "tests/support/wait.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using SigningRequests = FrontEndTest;

const std::string REQUEST_BEGIN = "-----BEGIN CERTIFICATE REQUEST-----\n";

std::vector<std::string> statesOf(const json& document) {
    std::vector<std::string> states;
    for (const json& state : document["states"]) {
        states.push_back(state["state"]);
    }
    return states;
}

const std::vector<std::string> WHOLE_LIFE = {"Pending", "Running", "Completed"};

TEST_F(SigningRequests, OneForAnEllipticCurveIsAnsweredAtOnce) {
    startDaemon();
    const ProgramResult result =
        runFrontEnd({"generate-csr", COLLECTION, "--cn", "a.example", "--curve", "p-384"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, StartsWith(REQUEST_BEGIN));
    EXPECT_THAT(signRequest(result.output, makeAuthority()), StartsWith("-----BEGIN CERTIFICATE"));
    EXPECT_EQ(runFrontEnd({"tasks"}).output, "");
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
}

TEST_F(SigningRequests, ACertificateForItIsInstalledWithoutAKeyInHand) {
    startDaemon();
    const std::string file = directory.file("out.csr");
    const ProgramResult made =
        runFrontEnd({"generate-csr", COLLECTION, "--cn", "a.example", "-o", file});
    EXPECT_EQ(made.status, 0);
    EXPECT_THAT(made.output, StartsWith("Signing request in " + file + "  ("));
    const std::string certificate = signRequest(readFile(file), makeAuthority());
    EXPECT_EQ(runFrontEnd({"create", COLLECTION, fileWith(certificate)}).status, 0);
    EXPECT_EQ(members().size(), 1U);
}

TEST_F(SigningRequests, EveryParameterReachesTheBackend) {
    startSteerableDaemon();
    setBackendAnswers(R"({"generateCSR": {"csr": "the request"}})");
    // clang-format off
    const ProgramResult result = runFrontEnd(
        {"generate-csr", COLLECTION, "--cn", "bmc \"1\" \\ Grüße", "--organization", "O", "--city", "C",
         "--organizational-unit", "OU", "--state", "S", "--country", "DE", "--email", "a@b.example",
         "--contact-person", "CP", "--surname", "SN", "--given-name", "GN", "--initials", "I",
         "--unstructured-name", "UN", "--curve", "P256", "--algorithm", "ecdsa", "--san", "a.example",
         "--san", "192.0.2.1", "--key-usage", "KeyAgreement", "--key-usage", "DigitalSignature",
         "--challenge-password", "hunter2"});
    // clang-format on
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "the request");
    const json expected = {{"handler", "generateCSR"},
                           {"collectionUri", COLLECTION},
                           {"keyBitLength", 0},
                           {"arrayParameters",
                            {{"AlternativeNames", {"a.example", "192.0.2.1"}},
                             {"KeyUsage", {"KeyAgreement", "DigitalSignature"}}}},
                           {"stringParameters",
                            {{"CommonName", "bmc \"1\" \\ Grüße"},
                             {"Organization", "O"},
                             {"City", "C"},
                             {"OrganizationalUnit", "OU"},
                             {"State", "S"},
                             {"Country", "DE"},
                             {"Email", "a@b.example"},
                             {"ContactPerson", "CP"},
                             {"Surname", "SN"},
                             {"GivenName", "GN"},
                             {"Initials", "I"},
                             {"UnstructuredName", "UN"},
                             {"KeyCurveId", "TPM_ECC_NIST_P256"},
                             {"KeyPairAlgorithm", "TPM_ALG_ECDSA"},
                             {"ChallengePassword", "hunter2"}}}};
    ASSERT_EQ(backendCalls().size(), 1U);
    EXPECT_EQ(json::parse(backendCalls()[0]), expected);
}

TEST_F(SigningRequests, TheChallengePasswordTravelsEncryptedOnly) {
    startDaemon();
    CommandMonitor monitor(server);
    EXPECT_EQ(runFrontEnd({"generate-csr", COLLECTION, "--cn", "a", "--challenge-password-file",
                           fileWith("hunter2-and-more\nsecond line\n")})
                  .status,
              0);
    const std::string commands = describeCommands(monitor.commands());
    EXPECT_THAT(commands, HasSubstr("ChallengePassword"));
    EXPECT_THAT(commands, testing::Not(HasSubstr("hunter2-and-more")));
    EXPECT_EQ(fileMode("/var/nginx/pkey.tmp"), 0640U);
}

TEST_F(SigningRequests, OneForRsaShowsTheStatesOfItsTask) {
    startDaemon();
    const ProgramResult result =
        runFrontEnd({"generate-csr", COLLECTION, "--cn", "a.example", "--rsa", "2048"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, StartsWith(REQUEST_BEGIN));
    EXPECT_THAT(result.errors, testing::ContainsRegex("^  task  Pending   [0-9.]+ m?s\n"
                                                      "  task  Running   [0-9.]+ m?s\n"
                                                      "  task  Completed [0-9.]+ m?s\n$"));
    const json task = runFrontEnd({"get", TASKS + "/1"}).json();
    EXPECT_EQ(task["TaskState"], "Completed");
    EXPECT_TRUE(task.contains("EndTime"));
}

TEST_F(SigningRequests, OneForRsaNamesTaskAndStatesAsJson) {
    startDaemon();
    const ProgramResult result =
        runFrontEnd({"generate-csr", COLLECTION, "--cn", "a", "--rsa", "2048", "--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(statesOf(result.json()), WHOLE_LIFE);
    EXPECT_EQ(result.json()["task"], TASKS + "/1");
    EXPECT_THAT(result.json()["CSRString"].get<std::string>(), StartsWith(REQUEST_BEGIN));
}

TEST_F(SigningRequests, ATaskNeedNotBeWaitedFor) {
    startDaemon();
    const ProgramResult made =
        runFrontEnd({"generate-csr", COLLECTION, "--cn", "a", "--rsa", "2048", "--no-wait"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.output, TASKS + "/1\n");
    ASSERT_TRUE(waitUntil([] {
        const json tasks = runFrontEnd({"tasks", "--json"}).json();
        return tasks.size() == 1 && tasks[0]["state"] == "Completed";
    }));
    const ProgramResult fetched = runFrontEnd({"tasks", TASKS + "/1", "-o", "-"});
    EXPECT_EQ(fetched.status, 0);
    EXPECT_THAT(fetched.output, StartsWith(REQUEST_BEGIN));
    EXPECT_THAT(signRequest(fetched.output, makeAuthority()), StartsWith("-----BEGIN CERTIFICATE"));
}

TEST_F(SigningRequests, AFailedTaskIsReportedLikeAnyRefusal) {
    startSteerableDaemon();
    setBackendAnswers(R"({"generateCSR": {"code": 400, "message": {
        "MessageId": "Base.1.9.ActionParameterValueNotInList",
        "MessageArgs": ["512", "KeyBitLength", "CertificateService.GenerateCSR"],
        "RelatedProperties": ["#/KeyBitLength"]}}})");
    const ProgramResult result =
        runFrontEnd({"generate-csr", COLLECTION, "--cn", "a", "--rsa", "512"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("  task  Exception "));
    EXPECT_THAT(result.errors,
                HasSubstr("Refused: The value '512' of the parameter KeyBitLength is none of those "
                          "that the action CertificateService.GenerateCSR takes.\n"
                          "  status      FAILURE\n"
                          "  message     Base.1.9.ActionParameterValueNotInList\n"
                          "  concerns    #/KeyBitLength\n"));
    const json task = runFrontEnd({"get", TASKS + "/1"}).json();
    EXPECT_EQ(task["TaskState"], "Exception");
    EXPECT_EQ(task["Messages"][0]["MessageId"], "Base.1.9.ActionParameterValueNotInList");
    EXPECT_EQ(runFrontEnd({"tasks", TASKS + "/1"}).status, 1);
}

TEST_F(SigningRequests, ARefusalAtOnceLeavesNoTask) {
    startDaemon();
    const ProgramResult result = runFrontEnd({"generate-csr", "/nowhere", "--cn", "a"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, StartsWith("Refused: There is no resource at /nowhere.\n"));
    EXPECT_EQ(runFrontEnd({"tasks"}).output, "");
}

TEST_F(SigningRequests, ATaskStaysWhenTheWaitForItEnds) {
    startSteerableDaemon();
    setBackendAnswers(R"({"generateCSR": {"waitForFile": "/tmp/go-on", "csr": "late"}})");
    const ProgramResult result =
        runFrontEnd({"generate-csr", COLLECTION, "--cn", "a", "--rsa", "2048", "--timeout", "1"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(runFrontEnd({"tasks", "--json"}).json()[0]["state"], "Running");
    EXPECT_EQ(runFrontEnd({"tasks", TASKS + "/1", "-o", "-"}),
              (ProgramResult{1, "", "certificatectl: The task has no signing request yet.\n"}));
    writeFile("/tmp/go-on", "");
    ASSERT_TRUE(waitUntil([] {
        return runFrontEnd({"tasks", "--json"}).json()[0]["state"] == "Completed";
    }));
    EXPECT_EQ(runFrontEnd({"tasks", TASKS + "/1", "-o", "-"}).output, "late");
}

TEST_F(SigningRequests, LeaveTheirParametersInRedisNoLongerThanUntilTheAnswer) {
    const std::string goOn = directory.file("go-on");
    resetBackend();
    setBackendAnswers(R"({"generateCSR": {"waitForFile": ")" + goOn + R"(", "csr": "late"}})");
    startSteerableDaemon();
    FrontEndProcess program({"generate-csr", COLLECTION, "--cn", "only-in-body", "--rsa", "2048"});
    ASSERT_TRUE(waitUntil([] { return backendCalls().size() == 1; }));
    EXPECT_TRUE(waitUntil([this] {
        return client.dumpAll().find("only-in-body") == std::string::npos;
    })) << "the task runs on";
    writeFile(goOn, "");
    EXPECT_EQ(program.finish().output, "late");
}

TEST_F(SigningRequests, OnlyTasksThatHaveEndedAreClearedAway) {
    startSteerableDaemon();
    setBackendAnswers(R"({"generateCSR": [{"csr": "first"}, {"waitForFile": "/tmp/go-on"}]})");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(
            runFrontEnd({"generate-csr", COLLECTION, "--cn", "a", "--rsa", "2048", "--no-wait"})
                .status,
            0);
    }
    ASSERT_TRUE(waitUntil([] {
        return runFrontEnd({"tasks", "--json"}).json()[0]["state"] == "Completed";
    }));
    EXPECT_THAT(runFrontEnd({"tasks", "--clear"}).output,
                MatchesRegex("Completed  " + TASKS +
                             "/1  [-0-9T:]+Z  to [-0-9T:]+Z  Certificate signing request  "
                             "removed\n"
                             "[A-Z][a-z]+ +" +
                             TASKS + "/2  [-0-9T:]+Z {27}Certificate signing request\n"));
    const json tasks = runFrontEnd({"tasks", "--json"}).json();
    ASSERT_EQ(tasks.size(), 1U);
    EXPECT_EQ(tasks[0]["task"], TASKS + "/2");
    EXPECT_EQ(client.dumpAll().find(TASKS + "/1"), std::string::npos);
    writeFile("/tmp/go-on", "");
}

TEST_F(SigningRequests, AnUnknownTaskIsReported) {
    EXPECT_EQ(runFrontEnd({"tasks", TASKS + "/9"}),
              (ProgramResult{1, "", "certificatectl: There is no task at " + TASKS + "/9.\n"}));
}

} // namespace
