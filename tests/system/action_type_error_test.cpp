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

TEST_F(ActionTypeError, MissingFieldOfTheRecord) {
    for (const std::string field : {"&&ReturnChannel", "&&RequestData", "&&TargetURI", "&&Task"}) {
        expectAbort(signing(R"("KeyCurveId":"x")"), field);
    }
}

TEST_F(ActionTypeError, ParametersOfASigningRequest) {
    for (const std::string members :
         {R"("KeyBitLength":"2048")", R"("KeyBitLength":null)", R"("City":5)", R"("City":true)",
          R"("City":null)", R"("KeyUsage":["a",5])", R"("ChallengePassword":5)"}) {
        expectAbort(signing(members));
    }
}

TEST_F(ActionTypeError, CollectionOfASigningRequest) {
    for (const std::string body :
         {R"({"City":"x"})", R"({"CertificateCollection":null})",
          R"({"CertificateCollection":"/c"})", R"({"CertificateCollection":{"@odata.id":5}})"}) {
        FrontEndRequest request = signing("");
        request.body = body;
        expectAbort(request);
    }
}

TEST_F(ActionTypeError, MembersOfAReplacement) {
    for (const std::string body :
         {R"({"CertificateString":"t","CertificateType":"PEM"})",
          R"({"CertificateUri":{"@odata.id":"/c/1"},"CertificateType":"PEM"})"}) {
        FrontEndRequest request = replacement("/c/1");
        request.body = body;
        expectAbort(request);
    }
}

TEST_F(ActionTypeError, RestartedDaemonServesAgain) {
    expectAbort(signing(R"("City":5)"));
    start();
    EXPECT_EQ(describeAnswer(send(signing("", 2))), "OK_RES");
}

} // namespace
