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

TEST_F(CertificateAction, EmptyKeysAreOnlyLogged) {
    storeRequest(client, actionRequest(GENERATE_CSR, csrBody()));
    CommandMonitor monitor(server);
    EXPECT_FALSE(handleCertificateAction(context(), "requests/1", ""));
    EXPECT_FALSE(handleCertificateAction(context(), "", STATUS_KEY));
    EXPECT_FALSE(handleCertificateAction(context(), "", ""));
    EXPECT_EQ(describeCommands(monitor.commands()), "");
    EXPECT_EQ(log(), "[Error]: Certificate action: request data structure error.\n"
                     "[Error]: Certificate action: request data structure error.\n"
                     "[Error]: Certificate action: request data structure error.\n");
}

TEST_F(CertificateAction, UnreadableRecordIsOnlyLogged) {
    CommandMonitor monitor(server);
    EXPECT_FALSE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
    EXPECT_EQ(describeCommands(monitor.commands()), "TYPE requests/1\n");
    EXPECT_EQ(log(), "[Error]: Certificate action: get request data structure failed.\n");
}

TEST_F(CertificateAction, UnknownTargetIsAnswered) {
    FrontEndRequest request = actionRequest("/unknown target", csrBody());
    request.fields.clear(); // the task is needed by one action only
    storeRequest(client, request);
    CommandMonitor monitor(server);
    EXPECT_FALSE(handleCertificateAction(context(), "requests/1", STATUS_KEY));
    EXPECT_EQ(commandText(monitor.commands()),
              READ_RECORD +
                  failureCommands("FAILURE", "Base.1.9.ActionNotSupported", {"/unknown target"}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(answer(), "FAILURE Base.1.9.ActionNotSupported (/unknown target)");
    EXPECT_EQ(log(), "");
}

TEST_F(CertificateAction, TargetsAreComparedAsAWhole) {
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
        CommandMonitor monitor(server);
        EXPECT_FALSE(handle(actionRequest(target, csrBody())));
        EXPECT_EQ(monitor.commands().back(), (Command{"PUBLISH", RETURN_CHANNEL, STATUS_KEY}));
        EXPECT_EQ(answer(), "FAILURE Base.1.9.ActionNotSupported (" + target + ")");
    }
    EXPECT_TRUE(backendCalls().empty());
}

TEST_F(CertificateAction, SigningRequestRunsAndIsAnswered) {
    EXPECT_TRUE(handle(actionRequest(GENERATE_CSR, csrBody())));
    EXPECT_EQ(answer(), "OK_RES");
    EXPECT_EQ(backendCalls().size(), 1U);
}

TEST_F(CertificateAction, FailedActionsAreRunActionsToo) {
    CommandMonitor monitor(server);
    EXPECT_TRUE(handle(actionRequest(GENERATE_CSR, "")));
    EXPECT_TRUE(handle(actionRequest(REPLACE_CERTIFICATE, "")));
    int replies = 0;
    for (const auto& command : monitor.commands()) {
        replies += command == Command{"PUBLISH", RETURN_CHANNEL, STATUS_KEY} ? 1 : 0;
    }
    EXPECT_EQ(replies, 2);
    EXPECT_EQ(log(), "[Error]: generateCSR: get request data failed.\n"
                     "[Error]: ReplaceCertificate: get request data failed.\n");
}

TEST_F(CertificateAction, ReplacementNeedsNoTask) {
    FrontEndRequest request = actionRequest(REPLACE_CERTIFICATE, "");
    request.fields.clear();
    EXPECT_TRUE(handle(request));
}

struct MissingField {
    const char* target;
    const char* field;
};

TEST_F(CertificateAction, MissingFieldThrows) {
    for (const auto& [target, field] : std::vector<MissingField>{
             {GENERATE_CSR.c_str(), "&&ReturnChannel"},
             {GENERATE_CSR.c_str(), "&&RequestData"},
             {GENERATE_CSR.c_str(), "&&TargetURI"},
             // Read although this request would not become a task.
             {GENERATE_CSR.c_str(), "&&Task"},
             {REPLACE_CERTIFICATE.c_str(), "&&RequestData"},
             {"/unknown", "&&RequestData"},
         }) {
        storeRequest(client, actionRequest(target, csrBody(R"("KeyCurveId":"x")")));
        client.command("HDEL", "requests/1", field);
        try {
            (void)handleCertificateAction(context(), "requests/1", STATUS_KEY);
            ADD_FAILURE() << target << " without " << field;
        } catch (const nlohmann::json::type_error& failure) {
            EXPECT_NE(std::string(failure.what()).find("type must be string, but is null"),
                      std::string::npos)
                << failure.what();
        }
    }
    EXPECT_TRUE(backendCalls().empty());
    EXPECT_EQ(client.command("EXISTS", STATUS_KEY).integer, 0);
}

} // namespace
