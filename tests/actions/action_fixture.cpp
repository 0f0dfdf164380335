// Requests of the two actions.

#include "tests/actions/action_fixture.h"

#include "actions/certificate_action.h"
#include "actions/generate_csr.h"
#include "actions/replace_certificate.h"

ActionFixture::ActionFixture() {
    storeCertificateCollection(client, COLLECTION);
}

bool ActionFixture::runGenerateCSR(const std::string& body) {
    storeResource(client, BODY_KEY, body);
    return generateCSR(context(), RETURN_CHANNEL, BODY_KEY, STATUS_KEY, TASK);
}

bool ActionFixture::runReplaceCertificate(const std::string& body) {
    storeResource(client, BODY_KEY, body);
    return replaceCertificate(context(), BODY_KEY, STATUS_KEY);
}

std::string ActionFixture::commandsOfAction(const std::string& targetUri, const std::string& body) {
    client.command("DEL", STATUS_KEY, "status/1/ExtendedInfo", "status/1/ExtendedInfo/1",
                   "status/1/ExtendedInfo/1/MessageArgs");
    storeRequest(client, actionRequest(targetUri, body));
    return commandsOf(
        [this] { EXPECT_TRUE(handleCertificateAction(context(), "requests/1", STATUS_KEY)); });
}

FrontEndRequest actionRequest(const std::string& targetUri, const std::string& body) {
    FrontEndRequest request;
    request.kind = RequestKind::ACTION;
    request.targetUri = targetUri;
    request.body = body;
    request.fields = {{"&&Task", TASK}};
    request.statusKey = STATUS_KEY;
    request.returnChannel = RETURN_CHANNEL;
    return request;
}

std::string csrBody(const std::string& members) {
    return R"({"CertificateCollection":{"@odata.id":")" + COLLECTION + R"("})" +
           (members.empty() ? "" : "," + members) + "}";
}
