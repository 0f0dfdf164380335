#include "requests/create_certificate.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "core/redis_commands.h"
#include "core/settings.h"
#include "platform/certificate_backend.h"
#include "requests/certificate_resource.h"
#include "requests/collection_lock.h"
#include "requests/event_group.h"
#include "requests/identifiers.h"
#include "requests/request_record.h"
#include "requests/resource_events.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

constexpr int RANDOM_ID_BYTES = 4;
constexpr std::int32_t SUCCESS = 200;

struct CreateRecord {
    std::string returnChannel;
    std::string requestDataKey;
    std::string collectionUri;
};

std::string withoutMembersSegment(const std::string& uri) {
    return uri.ends_with("/Members") ? parentUri(uri) : uri;
}

CreateRecord readRecord(nlohmann::json& record) {
    CreateRecord fields;
    fields.returnChannel = stringMember(record, RETURN_CHANNEL_FIELD);
    fields.requestDataKey = stringMember(record, REQUEST_DATA_FIELD);
    fields.collectionUri = withoutMembersSegment(stringMember(record, TARGET_URI_FIELD));
    return fields;
}

bool isComplete(const CreateRecord& fields) {
    return !fields.returnChannel.empty() && !fields.requestDataKey.empty() &&
           !fields.collectionUri.empty();
}

void refuseType(redisContext* context, const std::string& statusKey,
                const std::string& certificateType) {
    (void)writeReturnStatus(context, statusKey, nlohmann::json::object(), STATUS_FAILURE,
                            MSG_PROPERTY_VALUE_NOT_IN_LIST, {certificateType, CERTIFICATE_TYPE},
                            true);
}

// Stores and links what the backend has installed. The text of the failed step; null when all went
// well.
const char* storeCertificate(redisContext* context, nlohmann::json& body,
                             const CreateCertRequest& request, const CreateCertResult& result) {
    const std::string newUri = request.collectionUri + "/" + request.certificateId;
    addCertificateProperties(body, result);
    if (!createCertificateResource(context, body, request.certificateId, newUri)) {
        return "Create certificate: create resource failed";
    }
    if (!result.privateKeyValue.empty()) {
        (void)redisHSet(context, newUri, CERT_PRIVATE_KEY_FIELD, result.privateKeyValue);
    }
    if (!addCollectionMember(context, newUri, request.collectionUri)) {
        return "Create certificate: update Certificate Collection failed.";
    }
    if (!addCertificateLocation(context, newUri, CERTIFICATE_LOCATIONS_LINKS_KEY)) {
        return "Create certificate: update Certificate Locations failed.";
    }
    return nullptr;
}

int finishCertificateCreate(redisContext* context, const std::string& newUri,
                            const std::string& collectionUri, const std::string& statusKey) {
    (void)writeReturnStatus(context, statusKey, {{LOCATION_FIELD, newUri}}, STATUS_OK, EMPTY_VALUE,
                            {}, true);
    const std::uint32_t eventGroupId = getNextEventGroupId(context, gLogger);
    return generateResourceEvent(context,
                                 memberEventArguments("add", newUri, collectionUri, eventGroupId));
}

} // namespace

int handleCreateCertificate(redisContext* context, const std::string& requestKey,
                            const std::string& statusKey, pthread_mutex_t* collectionLock) {
    if (requestKey.empty() || statusKey.empty()) {
        return refuseRequest(context, statusKey,
                             "Create certificate: request data structure error.");
    }
    nlohmann::json record;
    if (getResource(context, requestKey, record) != STORE_OK) {
        return refuseRequest(context, statusKey,
                             "Create certificate: get request data structure failed.");
    }
    const CreateRecord fields = readRecord(record);
    if (!isComplete(fields)) {
        return refuseRequest(context, statusKey,
                             "Create certificate: request structure missing property.");
    }
    if (!lockCollection(context, collectionLock, fields.returnChannel, statusKey,
                        "Create certificate: get lock error.")) {
        return 0;
    }
    const int result =
        createCertificate(context, fields.requestDataKey, fields.collectionUri, statusKey);
    if (result == 0) {
        gLogger->error("Create certificate: create certificate error.");
    }
    unlockAndReply(context, collectionLock, fields.returnChannel, statusKey, result != 0);
    return result;
}

int createCertificate(redisContext* context, const std::string& requestDataKey,
                      const std::string& collectionUri, const std::string& statusKey) {
    nlohmann::json body;
    if (getResource(context, requestDataKey, body) != STORE_OK) {
        return refuseRequest(context, statusKey, "Create certificate: get request data failed.");
    }
    CreateCertRequest request;
    request.certificateType = stringMember(body, CERTIFICATE_TYPE);
    if (!isSupportedCertificateType(context, collectionUri, request.certificateType)) {
        refuseType(context, statusKey, request.certificateType);
        return 0;
    }
    request.collectionUri = collectionUri;
    request.certificateId = generateRandomId(RANDOM_ID_BYTES);
    request.certificateString = stringMember(body, CERTIFICATE_STRING);
    request.rootCaFile = gRootCaFile;
    const CreateCertResult result = createCertificateHandler(request);
    if (result.code != SUCCESS) {
        writeErrorReturnStatus(context, statusKey, result.code, result.message);
        return 0;
    }
    const char* failure = storeCertificate(context, body, request, result);
    if (failure != nullptr) {
        return refuseRequest(context, statusKey, failure);
    }
    return finishCertificateCreate(context, collectionUri + "/" + request.certificateId,
                                   collectionUri, statusKey);
}
