// Actions whose record or body is of a wrong type end the daemon; what is stored stays as it was.

#include "tests/system/request_road.h"

namespace {

class ActionTypeError : public RequestRoad {
protected:
    void expectAbort(const FrontEndRequest& request, const std::string& withoutField = "") {
        storeRequest(client, request);
        if (!withoutField.empty()) {
            client.command("HDEL", request.requestKey, withoutField);
        }
        EXPECT_TRUE(abortsUnharmed(request)) << request.body << " " << withoutField;
    }
};

class MissingField : public ActionTypeError, public testing::WithParamInterface<const char*> {};

TEST_P(MissingField, OfTheRecord) {
    expectAbort(signing(R"("KeyCurveId":"x")"), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Fields, MissingField,
                         testing::Values("&&ReturnChannel", "&&RequestData", "&&TargetURI",
                                         "&&Task"));

class WrongParameter : public ActionTypeError, public testing::WithParamInterface<const char*> {};

TEST_P(WrongParameter, OfASigningRequest) {
    expectAbort(signing(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Members, WrongParameter,
                         testing::Values(R"("KeyBitLength":"2048")", R"("KeyBitLength":null)",
                                         R"("City":5)", R"("City":true)", R"("City":null)",
                                         R"("KeyUsage":["a",5])", R"("ChallengePassword":5)"));

class WrongCollection : public ActionTypeError, public testing::WithParamInterface<const char*> {};

TEST_P(WrongCollection, OfASigningRequest) {
    FrontEndRequest request = signing("");
    request.body = GetParam();
    expectAbort(request);
}

INSTANTIATE_TEST_SUITE_P(Bodies, WrongCollection,
                         testing::Values(R"({"City":"x"})", R"({"CertificateCollection":null})",
                                         R"({"CertificateCollection":"/c"})",
                                         R"({"CertificateCollection":{"@odata.id":5}})"));

class WrongReplacement : public ActionTypeError, public testing::WithParamInterface<const char*> {};

TEST_P(WrongReplacement, EndsTheDaemon) {
    FrontEndRequest request = replacement("/c/1");
    request.body = GetParam();
    expectAbort(request);
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, WrongReplacement,
    testing::Values(R"({"CertificateString":"t","CertificateType":"PEM"})",
                    R"({"CertificateUri":{"@odata.id":"/c/1"},"CertificateType":"PEM"})"));

TEST_F(ActionTypeError, RestartedDaemonServesAgain) {
    expectAbort(signing(R"("City":5)"));
    start();
    EXPECT_EQ(describeAnswer(send(signing("", 2))), "OK_RES");
}

} // namespace
