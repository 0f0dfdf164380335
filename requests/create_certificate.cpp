#include "requests/create_certificate.h"

#include "core/at_scope_end.h"
#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "core/secret.h"
#include "core/settings.h"
#include "platform/certificate_backend.h"
#include "requests/backend_result.h"
#include "requests/certificate_resource.h"
#include "requests/collection_lock.h"
#include "requests/event_group.h"
#include "requests/identifiers.h"
#include "requests/refusal.h"
#include "requests/request_record.h"
#include "requests/resource_events.h"
#include "requests/return_status.h"
#include "requests/supported_types.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

constexpr int RANDOM_ID_BYTES = 4;

// The text of the failed step; null when all went well.
const char* storeCertificate(redisContext* context, nlohmann::json& body,
                             const CreateCertRequest& request, const CreateCertResult& result) {
    const std::string newUri = memberUri(request.collectionUri, request.certificateId);
    addCertificateProperties(body, result);
    if (!createCertificateResource(context, body, request.certificateId, newUri)) {
        return "Create certificate: create resource failed";
    }
    // Only now: the resource would have replaced the field.
    if (!result.privateKeyValue.empty()) {
        setPrivateKeyReference(context, newUri, result.privateKeyValue);
    }
    if (!addCollectionMember(context, newUri, request.collectionUri)) {
        return "Create certificate: update Certificate Collection failed.";
    }
    if (!addCertificateLocation(context, newUri, CERTIFICATE_LOCATIONS_LINKS_KEY)) {
        return "Create certificate: update Certificate Locations failed.";
    }
    return nullptr;
}

int finishCertificateCreate(const AnswerPlace& place, const CreateCertRequest& request) {
    const std::string newUri = memberUri(request.collectionUri, request.certificateId);
    (void)writeAnswer(place, {STATUS_OK, {{LOCATION_FIELD, newUri}}, {}});
    const std::uint32_t eventGroupId = getNextEventGroupId(place.context, gLogger);
    return generateResourceEvent(
        place.context, memberEventArguments("add", newUri, request.collectionUri, eventGroupId));
}

int installCertificate(const AnswerPlace& place, nlohmann::json& body,
                       const CreateCertRequest& request) {
    const CreateCertResult result = createCertificateHandler(request);
    if (!isBackendSuccess(result.code)) {
        (void)writeAnswer(place, backendFailure(result.code, result.message));
        return 0;
    }
    const char* failure = storeCertificate(place.context, body, request, result);
    if (failure != nullptr) {
        return refuseRequest(place, failure);
    }
    return finishCertificateCreate(place, request);
}

} // namespace

int handleCreateCertificate(redisContext* context, const std::string& requestKey,
                            const std::string& statusKey, pthread_mutex_t* collectionLock) {
    AnswerPlace place = {context, statusKey, ""};
    if (requestKey.empty() || statusKey.empty()) {
        return refuseRequest(place, "Create certificate: request data structure error.");
    }
    nlohmann::json record;
    if (getResource(context, requestKey, record) != STORE_OK) {
        return refuseRequest(place, "Create certificate: get request data structure failed.");
    }
    place.returnChannel = stringMember(record, RETURN_CHANNEL_FIELD);
    const std::string requestDataKey = stringMember(record, REQUEST_DATA_FIELD);
    const std::string collectionUri = withoutMembersSegment(stringMember(record, TARGET_URI_FIELD));
    if (place.returnChannel.empty() || requestDataKey.empty() || collectionUri.empty()) {
        return refuseRequest(place, "Create certificate: request structure missing property.");
    }
    if (!lockCollection(collectionLock, place, "Create certificate: get lock error.")) {
        return 0;
    }
    const int result = createCertificate(context, requestDataKey, collectionUri, statusKey);
    if (result == 0) {
        gLogger->error("Create certificate: create certificate error.");
        replyThenUnlock(collectionLock, place);
    } else {
        unlockThenReply(collectionLock, place);
    }
    return result;
}

int createCertificate(redisContext* context, const std::string& requestDataKey,
                      const std::string& collectionUri, const std::string& statusKey) {
    const AnswerPlace place = {context, statusKey, ""};
    nlohmann::json body;
    CreateCertRequest request;
    const AtScopeEnd wiper([&] {
        wipeText(request.certificateString);
        wipeDocument(body);
    });
    if (!readRequestBody(context, requestDataKey, body)) {
        return refuseRequest(place, "Create certificate: get request data failed.");
    }
    request.certificateType = stringMember(body, CERTIFICATE_TYPE);
    if (!acceptsCertificateType(place, collectionUri, request.certificateType)) {
        return 0;
    }
    request.collectionUri = collectionUri;
    request.certificateId = generateRandomId(RANDOM_ID_BYTES);
    request.certificateString = takeSecretMember(body, CERTIFICATE_STRING);
    request.rootCaFile = gRootCaFile;
    return installCertificate(place, body, request);
}
