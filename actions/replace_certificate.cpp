#include "actions/replace_certificate.h"

#include "actions/certificate_type.h"
#include "core/at_scope_end.h"
#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "core/redis_commands.h"
#include "core/secret.h"
#include "core/settings.h"
#include "requests/backend_result.h"
#include "requests/certificate_resource.h"
#include "requests/event_group.h"
#include "requests/no_operation.h"
#include "requests/refusal.h"
#include "requests/request_record.h"
#include "requests/resource_events.h"
#include "requests/return_status.h"
#include "requests/supported_types.h"

#include <nlohmann/json.hpp>

namespace {

// The URI ends at its first NUL in the log.
std::string logText(const std::string& certificateUri, const char* fault) {
    return std::string("ReplaceCertificate: ") + certificateUri.c_str() + fault;
}

// Refuses a URI that names no certificate, or one that does not allow its replacement.
bool isReplaceable(const AnswerPlace& place, const std::string& certificateUri) {
    const std::string type = redisHGet(place.context, certificateUri, ODATA_TYPE);
    if (type.empty()) {
        return refuseRequest(place, logText(certificateUri, " is not a certificate resource."),
                             failureAnswer(MSG_RESOURCE_MISSING_AT_URI, {certificateUri}));
    }
    // A blocked certificate gets the same answer as a resource of another kind; clients know no
    // other.
    if (redisHExists(place.context, certificateUri, BLOCK_REPLACE_CERTIFICATE_FIELD) == 1 ||
        !isCertificateType(type)) {
        return refuseRequest(
            place,
            logText(certificateUri, " is not a certificate resource or the certificate resource "
                                    "doesn't support the replace action."),
            failureAnswer(MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE,
                          {certificateUri, ODATA_ID, REPLACE_CERTIFICATE_ACTION_NAME}));
    }
    return true;
}

void answerUnchanged(const AnswerPlace& place, const std::string& certificateUri) {
    gLogger->debug("The certificate string is not changed, doesn't need to update the certificate "
                   "resource.");
    (void)redisHSet(place.context, place.statusKey, LOCATION_FIELD, certificateUri);
    writeNoOperationResponse(place.context, place.statusKey, MSG_NO_OPERATION);
}

bool installReplacement(const AnswerPlace& place, const ReplaceCertRequest& request) {
    const CreateCertResult result = replaceCertificateHandler(request);
    if (!isBackendSuccess(result.code)) {
        (void)writeAnswer(place, backendFailure(result.code, result.message));
        return false;
    }
    if (result.message.MessageId == MSG_NO_OPERATION) {
        answerUnchanged(place, request.certificateUri);
    } else {
        finishCertificateReplace(place.context, request.certificateUri, result, place.statusKey);
    }
    return true;
}

} // namespace

bool replaceCertificate(redisContext* context, const std::string& requestDataKey,
                        const std::string& statusKey) {
    const AnswerPlace place = {context, statusKey, ""};
    nlohmann::json body;
    ReplaceCertRequest request;
    const AtScopeEnd wiper([&] {
        wipeText(request.certificateString);
        wipeDocument(body);
    });
    if (!readRequestBody(context, requestDataKey, body)) {
        return refuseRequest(place, "ReplaceCertificate: get request data failed.");
    }
    request.certificateUri = stringMember(body[CERTIFICATE_URI], ODATA_ID);
    request.certificateString = takeSecretMember(body, CERTIFICATE_STRING);
    if (!isReplaceable(place, request.certificateUri)) {
        return false;
    }
    // Read only now: a wrong certificate is answered even when the type is missing.
    request.certificateType = stringMember(body, CERTIFICATE_TYPE);
    if (!acceptsCertificateType(place, parentUri(request.certificateUri),
                                request.certificateType)) {
        return false;
    }
    request.rootCaFile = gRootCaFile;
    return installReplacement(place, request);
}

void finishCertificateReplace(redisContext* context, const std::string& certificateUri,
                              const CreateCertResult& result, const std::string& statusKey) {
    const std::uint32_t eventGroupId = getNextEventGroupId(context, gLogger);
    replacePrivateKeyReference(context, certificateUri, result.privateKeyValue);
    const auto arguments = replacementEventArguments(certificateUri, eventGroupId);
    if (generateResourceEvent(context, arguments) == 0) {
        (void)refuseRequest({context, statusKey, ""}, "Failed to generate event.");
        return;
    }
    // Set field by field: the front end's own fields at this key stay.
    (void)redisHSet(context, statusKey, RETURN_STATUS_FIELD, STATUS_OK_RES);
    (void)redisHSet(context, statusKey, LOCATION_FIELD, certificateUri);
}
