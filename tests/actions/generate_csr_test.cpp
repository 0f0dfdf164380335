// The action GenerateCSR: what the backend is given, its answers, its refusals.

#include "actions/certificate_action.h"
#include "actions/generate_csr.h"
#include "actions/pending_csr.h"
#include "platform/data_decryption/encrypt.h"
#include "store/resource_store.h"
#include "tests/actions/action_fixture.h"
#include "tests/requests/redis_proxy.h"
#include "tests/support/fake_backend.h"
#include "tests/support/temp_files.h"

#include <nlohmann/json.hpp>

#include <deque>

namespace {

using nlohmann::json;

const std::string CURVE = R"("KeyCurveId":"TPM_ECC_NIST_P384")";
const std::string PENDING_LINE = "[Debug]: bIsAsyncAlg response processing\n\n";
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

    // The commands of a dispatched request.
    std::string commandsOf(const std::string& body) {
        storeRequest(client, actionRequest(GENERATE_CSR, body));
        CommandMonitor monitor(server);
        EXPECT_TRUE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
        return commandText(monitor.commands());
    }

    // What the backend was given for these further members of the body.
    json backendRequest(const std::string& members) {
        EXPECT_TRUE(runGenerateCSR(csrBody(members)));
        json call = json::parse(backendCalls().back());
        call.erase("handler");
        return call;
    }

    std::int32_t keyBitLength(const std::string& value) {
        return backendRequest(CURVE + ",\"KeyBitLength\":" + value)["keyBitLength"]
            .get<std::int32_t>();
    }

    // The text of the type error that this body causes.
    std::string typeError(const std::string& body) {
        try {
            (void)runGenerateCSR(body);
        } catch (const json::type_error& failure) {
            const std::string text = failure.what();
            return text.substr(text.find("] ") + 2);
        }
        return "no type error";
    }

    std::string encrypted(const std::string& plainText) {
        writeFile("/var/nginx/pkey.tmp", std::string(32, 'k'));
        return encryptHexString(plainText, "/var/nginx/pkey.tmp");
    }
};

TEST_F(GenerateCSR, SynchronousRequestSendsTheseCommands) {
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
    EXPECT_EQ(commandsOf(csrBody(CURVE)), READ_RECORD + READ_BODY + ASK_COLLECTION + writeResponse +
                                              BEGIN_STATUS + fields + WRITE_NO_MESSAGE +
                                              PUBLISH_REPLY);
    EXPECT_EQ(log(), "");
}

TEST_F(GenerateCSR, TaskSendsTheseCommands) {
    const std::string fields = filled(R"(HSET status/1/result &&Location {TASK}
HSET status/1/result &&ResponseData status/1/result/ResponseData
HSET status/1/result &&ReturnStatus PROCESSING
)",
                                      {{"TASK", TASK}});
    EXPECT_EQ(commandsOf(csrBody(R"("KeyPairAlgorithm":"TPM_ALG_RSA")")),
              READ_RECORD + READ_BODY + ASK_COLLECTION + BEGIN_STATUS + fields + WRITE_NO_MESSAGE +
                  "PUBLISH TASK_STATE_CHANGE \"" + TASK + " Pending null null\"\n" + PUBLISH_REPLY);
    EXPECT_EQ(client.command("EXISTS", "status/1/result/ResponseData").integer, 0);
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(log(), PENDING_LINE);
}

TEST_F(GenerateCSR, TaskIsQueuedAfterItsAnnouncement) {
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
    EXPECT_EQ(record.taskUri, TASK);
    EXPECT_EQ(record.collectionUri, COLLECTION);
    EXPECT_EQ(record.request.collectionUri, COLLECTION);
    EXPECT_EQ(record.request.keyBitLength, 2048);
    EXPECT_EQ(record.request.arrayParameters.at("KeyUsage"), std::vector<std::string>{"a"});
    EXPECT_EQ(record.request.stringParameters.at("KeyPairAlgorithm"), "TPM_ALG_RSA");
}

TEST_F(GenerateCSR, NewestTaskIsLast) {
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

// A request decides between task and answer by its algorithm, curve and key length.
struct Mode {
    std::int32_t keyBitLength;
    std::unordered_map<std::string, std::string> parameters;
    bool isAsync;
    std::string algorithm; // what the backend finds
};

TEST_F(GenerateCSR, AlgorithmCurveAndLengthDecideTheMode) {
    const std::vector<Mode> table = {
        {2048, {}, true, "TPM_ALG_RSA"},
        {1, {}, true, "TPM_ALG_RSA"},
        {-1, {}, true, "TPM_ALG_RSA"},
        {0, {}, false, ""},
        {2048, {{"KeyPairAlgorithm", ""}}, true, "TPM_ALG_RSA"},
        {0, {{"KeyPairAlgorithm", "TPM_ALG_RSA"}}, true, "TPM_ALG_RSA"},
        {0,
         {{"KeyPairAlgorithm", "TPM_ALG_RSA"}, {"KeyCurveId", "TPM_ECC_NIST_P384"}},
         true,
         "TPM_ALG_RSA"},
        {0, {{"KeyCurveId", "TPM_ECC_NIST_P384"}}, false, ""},
        {2048, {{"KeyCurveId", "TPM_ECC_NIST_P384"}}, false, ""},
        {2048, {{"KeyCurveId", ""}}, false, ""},
        {2048, {{"KeyPairAlgorithm", "tpm_alg_rsa"}}, false, "tpm_alg_rsa"},
        {2048, {{"KeyPairAlgorithm", "TPM_ALG_RSA "}}, false, "TPM_ALG_RSA "},
        {2048, {{"KeyPairAlgorithm", "TPM_ALG_ECDH"}}, false, "TPM_ALG_ECDH"},
    };
    for (const Mode& row : table) {
        CSRRequest request;
        request.keyBitLength = row.keyBitLength;
        request.stringParameters = row.parameters;
        SCOPED_TRACE(row.keyBitLength);
        SCOPED_TRACE(json(row.parameters).dump());
        EXPECT_EQ(isAsyncAlgorithm(request), row.isAsync);
        EXPECT_EQ(request.stringParameters.at("KeyPairAlgorithm"), row.algorithm);
        EXPECT_EQ(request.stringParameters.contains("KeyCurveId"),
                  row.parameters.contains("KeyCurveId"));
    }
}

TEST_F(GenerateCSR, BackendGetsEveryParameterUnderItsOwnName) {
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

TEST_F(GenerateCSR, BareRequestHasNoLengthAndAnEmptyAlgorithm) {
    const json expected = {
        {"collectionUri", COLLECTION},
        {"keyBitLength", 0},
        {"arrayParameters", json::object()},
        {"stringParameters", {{"KeyPairAlgorithm", ""}}},
    };
    EXPECT_EQ(backendRequest(""), expected);
}

TEST_F(GenerateCSR, KeyBitLengthIsConvertedToAnInteger) {
    EXPECT_EQ(keyBitLength("2048"), 2048);
    EXPECT_EQ(keyBitLength("-5"), -5);
    EXPECT_EQ(keyBitLength("true"), 1);
    EXPECT_EQ(keyBitLength("false"), 0);
    EXPECT_EQ(keyBitLength("2048.9"), 2048);
    EXPECT_EQ(keyBitLength("-2048.9"), -2048);
    EXPECT_EQ(keyBitLength("1.5e300"), 2147483647);
    EXPECT_EQ(keyBitLength("-1.5e300"), -2147483648);
}

TEST_F(GenerateCSR, KeyBitLengthOfAnotherTypeThrows) {
    const std::map<std::string, std::string> table = {
        {"\"2048\"", "type must be number, but is string"},
        {"null", "type must be number, but is null"},
        {"[2048]", "type must be number, but is array"},
        {R"({"bits":2048})", "type must be number, but is object"},
    };
    for (const auto& [value, expected] : table) {
        EXPECT_EQ(typeError(csrBody("\"KeyBitLength\":" + value)), expected);
    }
}

TEST_F(GenerateCSR, OtherParametersMustBeTextsOrArraysOfTexts) {
    const std::map<std::string, std::string> table = {
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

TEST_F(GenerateCSR, AlgorithmGivenAsArrayIsNoAlgorithm) {
    const json request = backendRequest(CURVE + R"(,"KeyPairAlgorithm":["TPM_ALG_RSA"])");
    EXPECT_EQ(request["arrayParameters"]["KeyPairAlgorithm"], json({"TPM_ALG_RSA"}));
    EXPECT_EQ(request["stringParameters"]["KeyPairAlgorithm"], "");
}

TEST_F(GenerateCSR, CollectionOfAnotherTypeThrows) {
    EXPECT_EQ(typeError(R"({"City":"x"})"), "cannot use at() with null");
    EXPECT_EQ(typeError(R"({"CertificateCollection":null})"), "cannot use at() with null");
    EXPECT_EQ(typeError(R"({"CertificateCollection":"/c"})"), "cannot use at() with string");
    EXPECT_EQ(typeError(R"({"CertificateCollection":["/c"]})"), "cannot use at() with array");
    EXPECT_EQ(typeError(R"({"CertificateCollection":{"@odata.id":5}})"),
              "type must be string, but is number");
}

TEST_F(GenerateCSR, UnreadableBodyIsAnswered) {
    storeRequest(client, actionRequest(GENERATE_CSR, ""));
    EXPECT_EQ(commandsOf(""),
              READ_RECORD + "TYPE requests/1/body\n" + defaultFailureCommands() + PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: generateCSR: get request data failed.\n");
    EXPECT_FALSE(generateCSR(context(), RETURN_CHANNEL, BODY_KEY, STATUS_KEY, TASK));
    EXPECT_EQ(answer(), "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()");
}

TEST_F(GenerateCSR, CollectionWithoutUriIsAnswered) {
    const std::vector<std::string> arguments = {"{}", "CertificateCollection",
                                                "CertificateService.GenerateCSR"};
    EXPECT_EQ(
        commandsOf(R"({"CertificateCollection":{}})"),
        READ_RECORD + READ_BODY + "HGETALL &&requests/1/body/CertificateCollection\n" +
            failureCommands("FAILURE", "Base.1.9.ActionParameterValueFormatError", arguments) +
            PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: generateCSR: the value of CertificateCollection object is empty.\n");
    EXPECT_FALSE(runGenerateCSR(R"({"CertificateCollection":{"Name":"x"}})"));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ActionParameterValueFormatError ({}, "
                        "CertificateCollection, CertificateService.GenerateCSR)");
}

TEST_F(GenerateCSR, CollectionThatIsNotThereIsAnswered) {
    client.command("DEL", COLLECTION);
    EXPECT_EQ(commandsOf(csrBody(CURVE)),
              READ_RECORD + READ_BODY + ASK_COLLECTION +
                  failureCommands("FAILURE", "Base.1.9.ResourceMissingAtURI", {COLLECTION}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(), "[Error]: generateCSR: the value of CertificateCollection is not a "
                     "resource.\n");
    EXPECT_FALSE(runGenerateCSR(csrBody()));
}

TEST_F(GenerateCSR, MissingTypeIsToldBeforeTheBlock) {
    client.command("HDEL", COLLECTION, "@odata.type");
    client.command("HSET", COLLECTION, "&&BlockCSRGeneration", "true");
    EXPECT_FALSE(runGenerateCSR(csrBody()));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (" + COLLECTION + ")");
}

class RefusedCollection : public GenerateCSR {
protected:
    void expectRefusal() {
        configure();
        EXPECT_EQ(commandsOf(csrBody(CURVE)),
                  READ_RECORD + READ_BODY + ASK_COLLECTION +
                      failureCommands("FAILURE", "ExtendedError.1.2.ActionNotSupportedOnReference",
                                      {COLLECTION, "@odata.id", "CertificateService.GenerateCSR"}) +
                      PUBLISH_REPLY);
        EXPECT_EQ(log(), "[Error]: generateCSR: the value of CertificateCollection doesn't point "
                         "to a CertificateCollection resource\n");
        EXPECT_FALSE(runGenerateCSR(csrBody(CURVE)));
        EXPECT_TRUE(backendCalls().empty());
        client.command("DEL", STATUS_KEY, "status/1/ExtendedInfo", "status/1/ExtendedInfo/1",
                       "status/1/ExtendedInfo/1/MessageArgs");
    }
};

TEST_F(RefusedCollection, BlockFieldOfAnyValue) {
    for (const std::string value : {"true", "false", "", "0"}) {
        client.command("HSET", COLLECTION, "&&BlockCSRGeneration", value);
        expectRefusal();
    }
}

TEST_F(RefusedCollection, OtherTypes) {
    for (const std::string type : {"#CertificateCollection.CertificateCollection",
                                   "\"#certificatecollection.CertificateCollection\"",
                                   "\"#CertificateCollection.CertificateCollection\" ",
                                   "\"#Certificate.v1_2_2.Certificate\""}) {
        client.command("HSET", COLLECTION, "@odata.type", type);
        expectRefusal();
    }
}

TEST_F(GenerateCSR, BackendsRefusalIsAnswered) {
    struct Row {
        std::string order;
        std::string expected;
    };
    const std::vector<Row> table = {
        {R"({"code":400})", "FAILURE ExtendedError.1.2.BadRequest ()"},
        {R"({"code":500})", "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {R"({"code":201,"csr":"text"})", "EXCEPTION ExtendedError.1.2.DatabaseOperationError ()"},
        {R"({"code":400,"message":{"MessageId":"Own.1.0.Text","MessageArgs":["a","b"],
            "RelatedProperties":["/City"]}})",
         "FAILURE Own.1.0.Text (a, b) [/City]"},
    };
    for (const Row& row : table) {
        configure();
        setBackendAnswers(R"({"generateCSR":)" + row.order + "}");
        EXPECT_FALSE(runGenerateCSR(csrBody(CURVE)));
        EXPECT_EQ(answer(), row.expected);
        EXPECT_EQ(log(), "[Error]: generateCSR: generate key failed.\n");
    }
    EXPECT_EQ(client.command("EXISTS", "status/1/result/ResponseData").integer, 0);
}

TEST_F(GenerateCSR, ResponseReadsBackWithItsCollection) {
    setBackendAnswers(R"({"generateCSR":{"csr":"text"}})");
    EXPECT_TRUE(runGenerateCSR(csrBody(CURVE)));
    json response;
    ASSERT_EQ(getResource(context(), "status/1/result/ResponseData", response), STORE_OK);
    const json expected = {{"CSRString", "text"},
                           {"CertificateCollection", {{"@odata.id", COLLECTION}}}};
    EXPECT_EQ(response, expected);
}

TEST_F(GenerateCSR, ResponseThatCannotBeWrittenIsLoggedAndTheStatusIsOk) {
    storeResource(client, BODY_KEY, csrBody(CURVE));
    const RedisProxy proxy(server,
                           answerOnce({"TYPE", "status/1/result/ResponseData"}, HASH_TYPE_REPLY));
    EXPECT_TRUE(generateCSR(proxy.context(), RETURN_CHANNEL, BODY_KEY, STATUS_KEY, TASK));
    EXPECT_EQ(log(), "[Error]: Failed to set the return status object.\n");
    EXPECT_EQ(answer(), "OK_RES");
    EXPECT_EQ(client.hash(STATUS_KEY).at("&&ResponseData"), "status/1/result/ResponseData");
}

TEST_F(GenerateCSR, ChallengePasswordReachesTheBackendInPlainTextAndNothingElse) {
    const std::string secret = "s3cret phrase";
    const std::string members = R"("ChallengePassword":")" + encrypted(secret) + "\"";
    CommandMonitor monitor(server);
    EXPECT_EQ(backendRequest(members)["stringParameters"]["ChallengePassword"], secret);
    EXPECT_EQ(describeCommands(monitor.commands()).find(secret), std::string::npos);
    EXPECT_EQ(client.dumpAll().find(secret), std::string::npos);
    EXPECT_EQ(log().find(secret), std::string::npos);
}

TEST_F(GenerateCSR, TaskKeepsThePlainPasswordInMemoryOnly) {
    const std::string secret = "s3cret phrase";
    CommandMonitor monitor(server);
    EXPECT_TRUE(runGenerateCSR(
        csrBody(R"("KeyBitLength":2048,"ChallengePassword":")" + encrypted(secret) + "\"")));
    EXPECT_EQ(describeCommands(monitor.commands()).find(secret), std::string::npos);
    EXPECT_EQ(client.dumpAll().find(secret), std::string::npos);
    EXPECT_EQ(log().find(secret), std::string::npos);
    ASSERT_EQ(pendingCSRQueue.entries.size(), 1U);
    CSRRequest& queued = pendingCSRQueue.entries.front()->request;
    EXPECT_EQ(queued.stringParameters.at("ChallengePassword"), secret);
    wipeChallengePassword(queued);
    EXPECT_EQ(queued.stringParameters.at("ChallengePassword"), "");
}

TEST_F(GenerateCSR, PasswordThatCannotBeDecryptedIsEmpty) {
    EXPECT_EQ(
        backendRequest(R"("ChallengePassword":"rubbish")")["stringParameters"]["ChallengePassword"],
        "");
}

TEST_F(GenerateCSR, RefusedCollectionIsToldBeforeTheParametersAreLookedAt) {
    client.command("DEL", COLLECTION);
    EXPECT_FALSE(runGenerateCSR(csrBody(R"("City":5,"KeyBitLength":"x")")));
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ResourceMissingAtURI (" + COLLECTION + ")");
}

} // namespace
