// A record or body that lacks a member, or holds one of a wrong type, ends the daemon; what is
// stored stays as it was.

#include "tests/system/request_road.h"

namespace {

const std::string CERTIFICATE = COLLECTION + "/1";

struct Row {
    const char* name;
    FrontEndRequest request;
    const char* missingField = ""; // of the record

    friend void PrintTo(const Row& row, std::ostream* out) {
        *out << row.name;
    }
};

FrontEndRequest with(FrontEndRequest request, const std::string& body) {
    request.body = body;
    return request;
}

// clang-format off
const Row ROWS[] = {
    {"CreationWithoutReturnChannel", creation(), "&&ReturnChannel"},
    {"CreationWithoutRequestData", creation(), "&&RequestData"},
    {"CreationWithoutTarget", creation(), "&&TargetURI"},
    {"CreationWithoutType", with(creation(), R"({"CertificateString":"text"})")},
    {"CreationOfANumber", with(creation(), R"({"CertificateType":5})")},
    {"DeletionWithoutReturnChannel", deletion(CERTIFICATE), "&&ReturnChannel"},
    {"DeletionWithoutTarget", deletion(CERTIFICATE), "&&TargetURI"},
    {"ActionWithoutReturnChannel", signing(""), "&&ReturnChannel"},
    {"ActionWithoutRequestData", signing(""), "&&RequestData"},
    {"ActionWithoutTarget", signing(""), "&&TargetURI"},
    {"SigningRequestWithoutTask", signing(""), "&&Task"},
    {"KeyLengthAsText", signing(R"("KeyBitLength":"2048")")},
    {"KeyLengthOfNull", signing(R"("KeyBitLength":null)")},
    {"ParameterOfANumber", signing(R"("City":5)")},
    {"ParameterOfABoolean", signing(R"("City":true)")},
    {"ParameterOfNull", signing(R"("City":null)")},
    {"ListWithANumber", signing(R"("KeyUsage":["a",5])")},
    {"PasswordOfANumber", signing(R"("ChallengePassword":5)")},
    {"NoCollection", with(signing(""), R"({"City":"x"})")},
    {"CollectionOfNull", with(signing(""), R"({"CertificateCollection":null})")},
    {"CollectionAsText", with(signing(""), R"({"CertificateCollection":"/c"})")},
    {"CollectionWithANumber", with(signing(""), R"({"CertificateCollection":{"@odata.id":5}})")},
    {"ReplacementWithoutUri",
     with(replacement(CERTIFICATE), R"({"CertificateString":"t","CertificateType":"PEM"})")},
    {"ReplacementWithoutText",
     with(replacement(CERTIFICATE),
          R"({"CertificateUri":{"@odata.id":"/c/1"},"CertificateType":"PEM"})")},
};
// clang-format on

class TypeError : public RequestRoad, public testing::WithParamInterface<Row> {};

TEST_P(TypeError, EndsTheDaemonAndHarmsNothing) {
    const FrontEndRequest& request = GetParam().request;
    storeRequest(client, request);
    client.command("HDEL", request.requestKey, GetParam().missingField);
    EXPECT_TRUE(abortsUnharmed(request));
    start();
    EXPECT_EQ(describeAnswer(send(signing("", 2))), "OK_RES") << "a new daemon serves again";
}

INSTANTIATE_TEST_SUITE_P(Of, TypeError, testing::ValuesIn(ROWS),
                         [](const auto& row) { return row.param.name; });

} // namespace
