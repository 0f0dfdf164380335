// The dispatch of action requests.

#include "actions/certificate_action.h"
#include "tests/actions/action_fixture.h"
#include "tests/support/fake_backend.h"

#include <nlohmann/json.hpp>

namespace {

class CertificateAction : public ActionFixture {
protected:
    bool handle(const FrontEndRequest& request) {
        storeRequest(client, request);
        return handleCertificateAction(context(), request.requestKey, request.statusKey);
    }
};

TEST_F(CertificateAction, IsOnlyLoggedWithoutKeys) {
    storeRequest(client, actionRequest(GENERATE_CSR, csrBody()));
    EXPECT_EQ(commandsOf([this] {
                  EXPECT_FALSE(handleCertificateAction(context(), "requests/1", ""));
                  EXPECT_FALSE(handleCertificateAction(context(), "", STATUS_KEY));
              }),
              "");
    EXPECT_EQ(log(), "[Error]: Certificate action: request data structure error.\n"
                     "[Error]: Certificate action: request data structure error.\n");
}

TEST_F(CertificateAction, IsOnlyLoggedWithoutAReadableRecord) {
    EXPECT_EQ(commandsOf([this] {
                  EXPECT_FALSE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
              }),
              "TYPE requests/1\n");
    EXPECT_EQ(log(), "[Error]: Certificate action: get request data structure failed.\n");
}

TEST_F(CertificateAction, OfAnUnknownTargetIsAnsweredAndNeedsNoTask) {
    FrontEndRequest request = actionRequest("/unknown target", csrBody());
    request.fields.clear();
    storeRequest(client, request);
    EXPECT_EQ(commandsOf([this] {
                  EXPECT_FALSE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
              }),
              READ_RECORD +
                  failureCommands("FAILURE", "Base.1.9.ActionNotSupported", {"/unknown target"}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(log(), "");
}

TEST_F(CertificateAction, IsKnownByItsWholeTargetOnly) {
    const std::vector<std::string> targets = {
        GENERATE_CSR + "/",
        REPLACE_CERTIFICATE + "/",
        GENERATE_CSR + "?x=1",
        "/redfish/v1/CertificateService/Actions/CertificateService.generateCSR",
        "/redfish/v1/CertificateService/Actions/CertificateService.Generate",
        "/REDFISH/v1/CertificateService/Actions/CertificateService.GenerateCSR",
        "&&/redfish/v1/CertificateService/Actions/#CertificateService.GenerateCSR",
        " " + GENERATE_CSR,
        "",
    };
    for (const std::string& target : targets) {
        EXPECT_FALSE(handle(actionRequest(target, csrBody())));
        EXPECT_EQ(answer(), "FAILURE Base.1.9.ActionNotSupported (" + target + ")");
    }
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(CertificateAction, OfAnUnreadableBodyIsRunAndAnswered) {
    for (const std::string& target : {GENERATE_CSR, REPLACE_CERTIFICATE}) {
        EXPECT_EQ(commandsOfAction(target, ""), READ_RECORD + "TYPE requests/1/body\n" +
                                                    defaultFailureCommands() + PUBLISH_REPLY);
    }
    EXPECT_EQ(log(), "[Error]: generateCSR: get request data failed.\n"
                     "[Error]: ReplaceCertificate: get request data failed.\n");
}

TEST_F(CertificateAction, NeedsNoTaskToReplace) {
    FrontEndRequest request = actionRequest(REPLACE_CERTIFICATE, "");
    request.fields.clear();
    EXPECT_TRUE(handle(request));
}

TEST_F(CertificateAction, LetsTheTypeErrorOfAMissingFieldOut) {
    const std::vector<std::array<std::string, 2>> table = {
        {GENERATE_CSR, "&&ReturnChannel"},
        {GENERATE_CSR, "&&RequestData"},
        {GENERATE_CSR, "&&TargetURI"},
        {GENERATE_CSR, "&&Task"}, // read although this request would not become a task
        {REPLACE_CERTIFICATE, "&&RequestData"},
        {"/unknown", "&&RequestData"},
    };
    for (const auto& [target, field] : table) {
        storeRequest(client, actionRequest(target, csrBody(R"("KeyCurveId":"x")")));
        client.command("HDEL", "requests/1", field);
        EXPECT_EQ(typeErrorOf([this] {
                      return handleCertificateAction(context(), "requests/1", STATUS_KEY);
                  }),
                  "type must be string, but is null")
            << target << " without " << field;
    }
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(client.command("EXISTS", STATUS_KEY).integer, 0);
}

} // namespace
