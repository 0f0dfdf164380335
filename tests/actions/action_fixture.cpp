// Requests of the two actions.

#include "tests/actions/action_fixture.h"

#include "actions/generate_csr.h"

ActionFixture::ActionFixture() {
    storeCertificateCollection(client, COLLECTION);
}

bool ActionFixture::runGenerateCSR(const std::string& body) {
    storeResource(client, BODY_KEY, body);
    return generateCSR(context(), RETURN_CHANNEL, BODY_KEY, STATUS_KEY, TASK);
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
