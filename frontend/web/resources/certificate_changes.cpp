#include "frontend/web/resources/certificate_changes.h"

#include "core/at_scope_end.h"
#include "core/protocol/channels.h"
#include "core/secret.h"
#include "frontend/records/certificate_records.h"
#include "frontend/web/service/change_turn.h"
#include "frontend/web/service/daemon_request.h"
#include "frontend/web/service/request_checks.h"
#include "frontend/web/service/stored_certificates.h"
#include "frontend/web/service/web_service.h"

#include <nlohmann/json.hpp>

namespace {

// A certificate that is in the records alone.
bool isUnknownToBackend(const ServiceAnswer& answer) {
    return answer.messageId.ends_with(".ResourceMissingAtURI");
}

} // namespace

Answer createCertificate(WebService& service, const Call& call, const std::string& collectionUri) {
    nlohmann::json body = readCheckedBody(call.request, newCertificateForm());
    const AtScopeEnd wiper([&body] { wipeDocument(body); });
    const BorrowedSession session(service.redis);
    const ChangeTurn turn(service.changes);
    const ServiceAnswer answer =
        askDaemon(session.get(), {CREATE_CHANNEL, collectionUri, "", 0}, std::move(body));
    checkAccepted(answer);
    return createdAnswer(answer.location, readCertificate(session.get(), answer.location));
}

Answer deleteCertificate(WebService& service, const Call& call) {
    const BorrowedSession session(service.redis);
    const ChangeTurn turn(service.changes);
    const ServiceAnswer answer =
        askDaemon(session.get(), {DELETE_CHANNEL, call.uri, "", 0}, nullptr);
    if (!isUnknownToBackend(answer)) {
        checkAccepted(answer);
    }
    removeCertificateRecords(session.get(), call.uri);
    return {.status = 204, .document = nullptr};
}
