// Actions that are answered at once, on their whole road.

#include "tests/system/request_road.h"

namespace {

using Fields = std::map<std::string, std::string>;

const std::string CERTIFICATE = COLLECTION + "/1a";

class ActionRequests : public RequestRoad {
protected:
    ActionRequests() {
        storeResource(client, CERTIFICATE, R"({"@odata.type":"#Certificate.v1_2_2.Certificate"})");
    }
};

TEST_F(ActionRequests, AnswerASigningRequestWithoutRsaAtOnce) {
    setBackendAnswers(R"({"generateCSR":{"csr":"text"}})");
    start();
    const FrontEndAnswer answer = send(signing(R"("KeyCurveId":"TPM_ECC_NIST_P384")"));
    EXPECT_EQ(describeAnswer(answer), "OK_RES");
    EXPECT_EQ(answer.status.at("&&ResponseData"), "status/1/result/ResponseData");
    EXPECT_EQ(client.hash("status/1/result/ResponseData"),
              (Fields{{"&&ObjectRef CertificateCollection " + COLLECTION, ""},
                      {"CSRString", "\"text\""}}));
}

TEST_F(ActionRequests, TellWhereAReplacedCertificateIs) {
    setBackendAnswers(R"({"replace":{"privateKeyValue":"keys/2"}})");
    start({{"ROOT_CA_FILE", "/etc/root certificates.pem"}});
    const FrontEndAnswer answer = send(replacement(CERTIFICATE));
    EXPECT_EQ(describeAnswer(answer), "OK_RES");
    EXPECT_EQ(answer.status.at("&&Location"), CERTIFICATE);
    EXPECT_EQ(client.hash(CERTIFICATE).at("&&CertPrivateKey"), "keys/2");
    EXPECT_NE(backendCalls().at(0).find(R"("rootCaFile":"/etc/root certificates.pem")"),
              std::string::npos);
}

TEST_F(ActionRequests, RaiseNoEventForAnUnchangedCertificate) {
    setBackendAnswers(R"({"replace":{"message":{"MessageId":"Base.1.9.NoOperation"}}})");
    start();
    const FrontEndAnswer answer = send(replacement(CERTIFICATE));
    EXPECT_EQ(describeAnswer(answer), "OK_RES");
    EXPECT_EQ(answer.status.at("&&Location"), CERTIFICATE);
    EXPECT_EQ(client.hash("status/1/result/ResponseData").count("&&RawJSON"), 1U);
    EXPECT_EQ(client.command("EXISTS", "/redfish/v1/EventService").integer, 0);
}

} // namespace
