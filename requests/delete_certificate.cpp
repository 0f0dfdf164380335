#include "requests/delete_certificate.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/status_words.h"
#include "platform/certificate_backend.h"
#include "requests/backend_result.h"
#include "requests/collection_lock.h"
#include "requests/event_group.h"
#include "requests/refusal.h"
#include "requests/request_record.h"
#include "requests/resource_events.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

// The caller holds the collection lock.
int deleteCertificate(const AnswerPlace& place, const std::string& certificateUri) {
    const DeleteCertResult removal = deleteCertificateHandler(certificateUri);
    if (!isBackendSuccess(removal.code)) {
        (void)writeAnswer(place, backendFailure(removal.code, removal.message));
        return 0;
    }
    const int result = finishCertificateDelete(place.context, certificateUri, place.statusKey);
    if (result == 0) {
        // "create" in this text is what log readers look for.
        gLogger->error("Delete certificate: create certificate error.");
    }
    return result;
}

} // namespace

int handleDeleteCertificate(redisContext* context, const std::string& requestKey,
                            const std::string& statusKey, pthread_mutex_t* collectionLock) {
    AnswerPlace place = {context, statusKey, ""};
    if (requestKey.empty() || statusKey.empty()) {
        return refuseRequest(place, "Delete certificate: request data structure error.");
    }
    nlohmann::json record;
    if (getResource(context, requestKey, record) != STORE_OK) {
        return refuseRequest(place, "Delete certificate: get request data structure failed.");
    }
    place.returnChannel = stringMember(record, RETURN_CHANNEL_FIELD);
    const std::string certificateUri = stringMember(record, TARGET_URI_FIELD);
    if (place.returnChannel.empty() || certificateUri.empty()) {
        return refuseRequest(place, "Delete certificate: request structure missing property.");
    }
    if (!lockCollection(collectionLock, place, "Delete certificate: get lock error.")) {
        return 0;
    }
    const int result = deleteCertificate(place, certificateUri);
    if (result == 0) {
        replyThenUnlock(collectionLock, place);
    } else {
        unlockThenReply(collectionLock, place);
    }
    return result;
}

int finishCertificateDelete(redisContext* context, const std::string& certificateUri,
                            const std::string& statusKey) {
    const AnswerPlace place = {context, statusKey, ""};
    (void)writeAnswer(place, {STATUS_OK_EMPTY, nlohmann::json::object(), {}});
    const std::uint32_t eventGroupId = getNextEventGroupId(context, gLogger);
    return generateResourceEvent(
        context,
        memberEventArguments("delete", certificateUri, parentUri(certificateUri), eventGroupId));
}
