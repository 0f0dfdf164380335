// The action GenerateCSR: what the backend is given, its answers, its refusals.

#include "actions/csr_request.h"
#include "actions/generate_csr.h"
#include "actions/pending_csr.h"
#include "platform/data_decryption/encrypt.h"
#include "tests/actions/action_fixture.h"
#include "tests/requests/redis_proxy.h"
#include "tests/support/fake_backend.h"
#include "tests/support/temp_files.h"

#include <nlohmann/json.hpp>

#include <climits>

namespace {

using nlohmann::json;

const std::string CURVE = R"("KeyCurveId":"TPM_ECC_NIST_P384")";
const std::string PASSWORD = "s3cret phrase";
const std::string ASK_COLLECTION = filled(R"(HEXISTS {COLLECTION} &&BlockCSRGeneration
HGET {COLLECTION} @odata.type
)");

class GenerateCSR : public ActionFixture {
protected:
    ~GenerateCSR() override {
        for (const PendingCSR* record : pendingCSRQueue.entries) {
            delete record;
        }
        pendingCSRQueue.entries.clear();
    }

    std::string commandsOfRequest(const std::string& body) {
        return commandsOfAction(GENERATE_CSR, body);
    }

    // What the backend was given for these further members of the body.
    json backendRequest(const std::string& members) {
        EXPECT_TRUE(runGenerateCSR(csrBody(members)));
        json call = json::parse(backendCalls().back());
        call.erase("handler");
        return call;
    }

    std::string typeError(const std::string& body) {
        return typeErrorOf([&] { return runGenerateCSR(body); });
    }

    // The member of the body with the password's encrypted form.
    static std::string passwordMember() {
        writeFile("/var/nginx/pkey.tmp", std::string(32, 'k'));
        return R"("ChallengePassword":")" + encryptHexString(PASSWORD, "/var/nginx/pkey.tmp") +
               "\"";
    }

    void expectNoPasswordIn(const std::string& commands) {
        EXPECT_EQ(commands.find(PASSWORD), std::string::npos);
        EXPECT_EQ(client.dumpAll().find(PASSWORD), std::string::npos);
        EXPECT_EQ(log().find(PASSWORD), std::string::npos);
    }
};

TEST_F(GenerateCSR, SendsTheseCommandsForARequestCarriedOutAtOnce) {
    setBackendAnswers(R"({"generateCSR":{"csr":"line 1\nline 2\n"}})");
    const std::string writeResponse = filled(R"(TYPE status/1/result/ResponseData
INCR Array-Member-Sequence-ID
HSET status/1/result/ResponseData "&&ObjectRef CertificateCollection {COLLECTION}" ""
HSET status/1/result/ResponseData CSRString "\"line 1\\nline 2\\n\""
)");
    const std::string fields =
        R"(HSET status/1/result &&ResponseData status/1/result/ResponseData
HSET status/1/result &&ReturnStatus OK_RES
)";
    EXPECT_EQ(commandsOfRequest(csrBody(CURVE)), READ_RECORD + READ_BODY + ASK_COLLECTION +
                                                     writeResponse + BEGIN_STATUS + fields +
                                                     WRITE_NO_MESSAGE + PUBLISH_REPLY);
    EXPECT_EQ(log(), "");
}

TEST_F(GenerateCSR, SendsTheseCommandsForATask) {
    const std::string fields = filled(R"(HSET status/1/result &&Location {TASK}
HSET status/1/result &&ResponseData status/1/result/ResponseData
HSET status/1/result &&ReturnStatus PROCESSING
)",
                                      {{"TASK", TASK}});
    EXPECT_EQ(commandsOfRequest(csrBody(R"("KeyPairAlgorithm":"TPM_ALG_RSA")")),
              READ_RECORD + READ_BODY + ASK_COLLECTION + BEGIN_STATUS + fields + WRITE_NO_MESSAGE +
                  "PUBLISH TASK_STATE_CHANGE \"" + TASK + " Pending null null\"\n" + PUBLISH_REPLY);
    EXPECT_EQ(client.command("EXISTS", "status/1/result/ResponseData").integer, 0);
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(log(), "[Debug]: bIsAsyncAlg response processing\n\n");
}

TEST_F(GenerateCSR, QueuesATaskAfterItsAnnouncement) {
    storeResource(client, BODY_KEY, csrBody(R"("KeyBitLength":2048,"KeyUsage":["a"])"));
    std::size_t queuedAtAnnouncement = 99;
    const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
        if (beginsWith(command, {"PUBLISH", "TASK_STATE_CHANGE"})) {
            queuedAtAnnouncement = pendingCSRQueue.entries.size();
        }
        return std::nullopt;
    });
    EXPECT_TRUE(generateCSR(proxy.context(), RETURN_CHANNEL, BODY_KEY, STATUS_KEY, TASK));
    EXPECT_EQ(queuedAtAnnouncement, 0U);
    ASSERT_EQ(pendingCSRQueue.entries.size(), 1U);
    const PendingCSR& record = *pendingCSRQueue.entries.front();
    EXPECT_EQ(record.taskUri + record.collectionUri + record.request.collectionUri,
              TASK + COLLECTION + COLLECTION);
    EXPECT_EQ(record.request.keyBitLength, 2048);
    EXPECT_EQ(record.request.arrayParameters.at("KeyUsage"), std::vector<std::string>{"a"});
    EXPECT_EQ(record.request.stringParameters.at("KeyPairAlgorithm"), "TPM_ALG_RSA");
}

TEST_F(GenerateCSR, QueuesTheNewestTaskLast) {
    for (const std::string task : {"/t/1", "/t/2", "/t/3"}) {
        storeResource(client, BODY_KEY, csrBody(R"("KeyPairAlgorithm":"TPM_ALG_RSA")"));
        EXPECT_TRUE(generateCSR(context(), RETURN_CHANNEL, BODY_KEY, STATUS_KEY, task));
    }
    std::vector<std::string> tasks;
    for (const PendingCSR* record : pendingCSRQueue.entries) {
        tasks.push_back(record->taskUri);
    }
    EXPECT_EQ(tasks, (std::vector<std::string>{"/t/1", "/t/2", "/t/3"}));
}

TEST_F(GenerateCSR, RunsAsATaskByAlgorithmCurveAndLength) {
    struct Row {
        std::int32_t keyBitLength;
        std::unordered_map<std::string, std::string> parameters;
        bool isAsync;
        std::string algorithm; // what the backend finds
    };
    const std::string ALGORITHM = "KeyPairAlgorithm";
    const std::string CURVE_ID = "KeyCurveId";
    const std::string RSA = "TPM_ALG_RSA";
    const std::vector<Row> table = {
        {2048, {}, true, RSA},
        {1, {}, true, RSA},
        {-1, {}, true, RSA},
        {0, {}, false, ""},
        {2048, {{ALGORITHM, ""}}, true, RSA},
        {0, {{ALGORITHM, RSA}}, true, RSA},
        {0, {{ALGORITHM, RSA}, {CURVE_ID, "x"}}, true, RSA},
        {0, {{CURVE_ID, "x"}}, false, ""},
        {2048, {{CURVE_ID, "x"}}, false, ""},
        {2048, {{CURVE_ID, ""}}, false, ""},
        {2048, {{ALGORITHM, "tpm_alg_rsa"}}, false, "tpm_alg_rsa"},
        {2048, {{ALGORITHM, RSA + " "}}, false, RSA + " "},
        {2048, {{ALGORITHM, "TPM_ALG_ECDH"}}, false, "TPM_ALG_ECDH"},
    };
    for (const Row& row : table) {
        CSRRequest request;
        request.keyBitLength = row.keyBitLength;
        request.stringParameters = row.parameters;
        SCOPED_TRACE(row.keyBitLength);
        SCOPED_TRACE(json(row.parameters).dump());
        EXPECT_EQ(isAsyncAlgorithm(request), row.isAsync);
        EXPECT_EQ(request.stringParameters.at(ALGORITHM), row.algorithm);
        EXPECT_EQ(request.stringParameters.contains(CURVE_ID), row.parameters.contains(CURVE_ID));
    }
}

TEST_F(GenerateCSR, HandsEveryParameterToTheBackendUnderItsOwnName) {
    const json expected = {
        {"collectionUri", COLLECTION},
        {"keyBitLength", 384},
        {"arrayParameters",
         {{"KeyUsage", {"b", "a", "b"}},
          {"AlternativeNames", {"x.example", "y"}},
          {"Empty", json::array()}}},
        {"stringParameters",
         {{"KeyCurveId", "TPM_ECC_NIST_P384"},
          {"City", "Town \"quoted\""},
          {"CommonName", "host"},
          {"UnknownOne", "kept"},
          {"KeyPairAlgorithm", ""}}},
    };
    EXPECT_EQ(backendRequest(CURVE + R"(,"KeyBitLength":384,"KeyUsage":["b","a","b"],
                  "AlternativeNames":["x.example","y"],"Empty":[],"City":"Town \"quoted\"",
                  "CommonName":"host","UnknownOne":"kept")"),
              expected);
}

TEST_F(GenerateCSR, HandsNoLengthAndAnEmptyAlgorithmOfABareRequest) {
    const json expected = {
        {"collectionUri", COLLECTION},
        {"keyBitLength", 0},
        {"arrayParameters", json::object()},
        {"stringParameters", {{"KeyPairAlgorithm", ""}}},
    };
    EXPECT_EQ(backendRequest(""), expected);
}

TEST_F(GenerateCSR, ConvertsTheKeyBitLengthToAnInteger) {
    const std::vector<std::pair<std::string, std::int32_t>> table = {
        {"2048", 2048},   {"-5", -5},         {"true", 1},          {"false", 0},
        {"2048.9", 2048}, {"-2048.9", -2048}, {"1.5e300", INT_MAX}, {"-1.5e300", INT_MIN},
    };
    for (const auto& [value, expected] : table) {
        EXPECT_EQ(backendRequest(CURVE + ",\"KeyBitLength\":" + value)["keyBitLength"], expected);
    }
}

TEST_F(GenerateCSR, LetsTheTypeErrorOfAMemberOut) {
    const std::map<std::string, std::string> table = {
        {R"("KeyBitLength":"2048")", "type must be number, but is string"},
        {R"("KeyBitLength":null)", "type must be number, but is null"},
        {R"("KeyBitLength":[2048])", "type must be number, but is array"},
        {R"("KeyBitLength":{"bits":2048})", "type must be number, but is object"},
        {R"("City":5)", "type must be string, but is number"},
        {R"("City":5.5)", "type must be string, but is number"},
        {R"("City":true)", "type must be string, but is boolean"},
        {R"("City":null)", "type must be string, but is null"},
        {R"("City":{"a":"b","c":"d"})", "type must be string, but is object"},
        {R"("City":{"@odata.id":"/x"})", "type must be string, but is object"},
        {R"("KeyUsage":["a",5])", "type must be string, but is number"},
        {R"("KeyUsage":[["a"]])", "type must be string, but is array"},
        {R"("KeyUsage":[null])", "type must be string, but is null"},
        {R"("KeyPairAlgorithm":1)", "type must be string, but is number"},
        {R"("ChallengePassword":5)", "type must be string, but is number"},
    };
    for (const auto& [members, expected] : table) {
        EXPECT_EQ(typeError(csrBody(members)), expected) << members;
    }
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(client.command("EXISTS", STATUS_KEY).integer, 0);
}

TEST_F(GenerateCSR, TakesAnAlgorithmGivenAsArrayForNone) {
    const json request = backendRequest(CURVE + R"(,"KeyPairAlgorithm":["TPM_ALG_RSA"])");
    EXPECT_EQ(request["arrayParameters"]["KeyPairAlgorithm"], json({"TPM_ALG_RSA"}));
    EXPECT_EQ(request["stringParameters"]["KeyPairAlgorithm"], "");
}

TEST_F(GenerateCSR, LetsTheTypeErrorOfACollectionOut) {
    EXPECT_EQ(typeError(R"({"City":"x"})"), "cannot use at() with null");
    EXPECT_EQ(typeError(R"({"CertificateCollection":null})"), "cannot use at() with null");
    EXPECT_EQ(typeError(R"({"CertificateCollection":"/c"})"), "cannot use at() with string");
    EXPECT_EQ(typeError(R"({"CertificateCollection":["/c"]})"), "cannot use at() with array");
    EXPECT_EQ(typeError(R"({"CertificateCollection":{"@odata.id":5}})"),
              "type must be string, but is number");
}

TEST_F(GenerateCSR, AnswersACollectionWithoutUri) {
    const std::vector<std::string> arguments = {"{}", "CertificateCollection",
                                                "CertificateService.GenerateCSR"};
    EXPECT_EQ(
        commandsOfRequest(R"({"CertificateCollection":{}})"),
        READ_RECORD + READ_BODY + "HGETALL &&requests/1/body/CertificateCollection\n" +
            failureCommands("FAILURE", "Base.1.9.ActionParameterValueFormatError", arguments) +
            PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: generateCSR: the value of CertificateCollection object is empty.\n");
    EXPECT_FALSE(runGenerateCSR(R"({"CertificateCollection":{"Name":"x"}})"));
}

TEST_F(GenerateCSR, AnswersACollectionThatIsNotThere) {
    client.command("DEL", COLLECTION);
    EXPECT_EQ(commandsOfRequest(csrBody(CURVE)),
              READ_RECORD + READ_BODY + ASK_COLLECTION +
                  failureCommands("FAILURE", "Base.1.9.ResourceMissingAtURI", {COLLECTION}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: generateCSR: the value of CertificateCollection is not a "
                     "resource.\n");
    EXPECT_FALSE(runGenerateCSR(csrBody()));
}

TEST_F(GenerateCSR, AnswersAMissingTypeBeforeABlock) {
    client.command("HDEL", COLLECTION, "@odata.type");
    client.command("HSET", COLLECTION, "&&BlockCSRGeneration", "true");
    EXPECT_FALSE(runGenerateCSR(csrBody()));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (" + COLLECTION + ")");
}

class RefusedCollection : public GenerateCSR {
protected:
    void expectRefusal(const std::string& field, const std::string& value) {
        configure();
        client.command("HSET", COLLECTION, field, value);
        EXPECT_EQ(commandsOfRequest(csrBody(CURVE)),
                  READ_RECORD + READ_BODY + ASK_COLLECTION +
                      failureCommands("FAILURE", "ExtendedError.1.2.ActionNotSupportedOnReference",
                                      {COLLECTION, "@odata.id", "CertificateService.GenerateCSR"}) +
                      PUBLISH_REPLY);
        EXPECT_EQ(log(), "[Error]: generateCSR: the value of CertificateCollection doesn't point "
                         "to a CertificateCollection resource\n");
        EXPECT_FALSE(runGenerateCSR(csrBody(CURVE)));
        EXPECT_TRUE(backendCalls().empty());
    }
};

TEST_F(RefusedCollection, HasABlockFieldOfAnyValue) {
    for (const std::string value : {"true", "false", "", "0"}) {
        expectRefusal("&&BlockCSRGeneration", value);
    }
}

TEST_F(RefusedCollection, HasTheTypeOfAnotherResource) {
    for (const std::string type : {"#CertificateCollection.CertificateCollection",
                                   "\"#certificatecollection.CertificateCollection\"",
                                   "\"#CertificateCollection.CertificateCollection\" ",
                                   "\"#Certificate.v1_2_2.Certificate\""}) {
        expectRefusal("@odata.type", type);
    }
}

TEST_F(GenerateCSR, AnswersARefusalOfTheBackend) {
    const std::vector<std::array<std::string, 2>> table = {
        {R"({"code":400})", "FAILURE ExtendedError.1.2.BadRequest ()"},
        {R"({"code":500})", DATABASE_ERROR},
        {R"({"code":201,"csr":"text"})", DATABASE_ERROR},
        {R"({"code":400,"message":{"MessageId":"Own.1.0.Text","MessageArgs":["a"]}})",
         "FAILURE Own.1.0.Text (a)"},
    };
    for (const auto& [order, expected] : table) {
        configure();
        setBackendAnswers(R"({"generateCSR":)" + order + "}");
        EXPECT_FALSE(runGenerateCSR(csrBody(CURVE)));
        EXPECT_EQ(answer(), expected);
        EXPECT_EQ(log(), "[Error]: generateCSR: generate key failed.\n");
    }
    EXPECT_EQ(client.command("EXISTS", "status/1/result/ResponseData").integer, 0);
}

TEST_F(GenerateCSR, LogsAResponseThatCannotBeWrittenAndAnswersAllTheSame) {
    storeResource(client, BODY_KEY, csrBody(CURVE));
    const RedisProxy proxy(server,
                           answerOnce({"TYPE", "status/1/result/ResponseData"}, HASH_TYPE_REPLY));
    EXPECT_TRUE(generateCSR(proxy.context(), RETURN_CHANNEL, BODY_KEY, STATUS_KEY, TASK));
    EXPECT_EQ(log(), "[Error]: Failed to set the return status object.\n");
    EXPECT_EQ(answer(), "OK_RES");
    EXPECT_EQ(client.hash(STATUS_KEY).at("&&ResponseData"), "status/1/result/ResponseData");
}

TEST_F(GenerateCSR, HandsThePlainPasswordToTheBackendAndNobodyElse) {
    expectNoPasswordIn(commandsOf([this] {
        EXPECT_EQ(backendRequest(passwordMember())["stringParameters"]["ChallengePassword"],
                  PASSWORD);
    }));
}

TEST_F(GenerateCSR, KeepsThePlainPasswordOfATaskInMemoryOnly) {
    expectNoPasswordIn(commandsOf([this] {
        EXPECT_TRUE(runGenerateCSR(csrBody(R"("KeyBitLength":2048,)" + passwordMember())));
    }));
    ASSERT_EQ(pendingCSRQueue.entries.size(), 1U);
    CSRRequest& queued = pendingCSRQueue.entries.front()->request;
    EXPECT_EQ(queued.stringParameters.at("ChallengePassword"), PASSWORD);
    wipeChallengePassword(queued);
    EXPECT_EQ(queued.stringParameters.at("ChallengePassword"), "");
}

TEST_F(GenerateCSR, HandsOverAnEmptyPasswordWhenItCannotBeDecrypted) {
    EXPECT_EQ(
        backendRequest(R"("ChallengePassword":"rubbish")")["stringParameters"]["ChallengePassword"],
        "");
}

TEST_F(GenerateCSR, AnswersARefusedCollectionBeforeLookingAtTheParameters) {
    client.command("DEL", COLLECTION);
    EXPECT_FALSE(runGenerateCSR(csrBody(R"("City":5,"KeyBitLength":"x")")));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (" + COLLECTION + ")");
}

} // namespace
