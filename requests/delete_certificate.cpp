#include "requests/delete_certificate.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/status_words.h"
#include "platform/certificate_backend.h"
#include "requests/collection_lock.h"
#include "requests/event_group.h"
#include "requests/request_record.h"
#include "requests/resource_events.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

constexpr std::int32_t SUCCESS = 200;

int deleteLocked(redisContext* context, const std::string& certificateUri,
                 const std::string& statusKey) {
    const DeleteCertResult removal = deleteCertificateHandler(certificateUri);
    if (removal.code != SUCCESS) {
        writeErrorReturnStatus(context, statusKey, removal.code, removal.message);
        return 0;
    }
    const int result = finishCertificateDelete(context, certificateUri, statusKey);
    if (result == 0) {
        // "create" in this text is what log readers look for.
        gLogger->error("Delete certificate: create certificate error.");
    }
    return result;
}

} // namespace

int handleDeleteCertificate(redisContext* context, const std::string& requestKey,
                            const std::string& statusKey, pthread_mutex_t* collectionLock) {
    if (requestKey.empty() || statusKey.empty()) {
        return refuseRequest(context, statusKey,
                             "Delete certificate: request data structure error.");
    }
    nlohmann::json record;
    if (getResource(context, requestKey, record) != STORE_OK) {
        return refuseRequest(context, statusKey,
                             "Delete certificate: get request data structure failed.");
    }
    const std::string returnChannel = stringMember(record, RETURN_CHANNEL_FIELD);
    const std::string certificateUri = stringMember(record, TARGET_URI_FIELD);
    if (returnChannel.empty() || certificateUri.empty()) {
        return refuseRequest(context, statusKey,
                             "Delete certificate: request structure missing property.");
    }
    if (!lockCollection(context, collectionLock, returnChannel, statusKey,
                        "Delete certificate: get lock error.")) {
        return 0;
    }
    const int result = deleteLocked(context, certificateUri, statusKey);
    unlockAndReply(context, collectionLock, returnChannel, statusKey, result != 0);
    return result;
}

int finishCertificateDelete(redisContext* context, const std::string& certificateUri,
                            const std::string& statusKey) {
    (void)writeReturnStatus(context, statusKey, nlohmann::json::object(), STATUS_OK_EMPTY,
                            EMPTY_VALUE, {}, true);
    const std::uint32_t eventGroupId = getNextEventGroupId(context, gLogger);
    return generateResourceEvent(
        context,
        memberEventArguments("delete", certificateUri, parentUri(certificateUri), eventGroupId));
}
