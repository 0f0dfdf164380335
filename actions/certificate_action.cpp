#include "actions/certificate_action.h"

#include "actions/generate_csr.h"
#include "actions/replace_certificate.h"
#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/redfish_names.h"
#include "requests/refusal.h"
#include "requests/request_record.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

// False when the target is no action of this service; the request is answered in either case.
bool runAction(const AnswerPlace& place, nlohmann::json& record) {
    const std::string requestDataKey = stringMember(record, REQUEST_DATA_FIELD);
    const std::string targetUri = stringMember(record, TARGET_URI_FIELD);
    if (targetUri == GENERATE_CSR_ACTION_URI) {
        // Needed only by a task, but a request without it is at fault in either case.
        const std::string taskUri = stringMember(record, TASK_FIELD);
        (void)generateCSR(place.context, place.returnChannel, requestDataKey, place.statusKey,
                          taskUri);
        return true;
    }
    if (targetUri == REPLACE_CERTIFICATE_ACTION_URI) {
        (void)replaceCertificate(place.context, requestDataKey, place.statusKey);
        return true;
    }
    (void)writeAnswer(place, failureAnswer(MSG_ACTION_NOT_SUPPORTED, {targetUri}));
    return false;
}

} // namespace

bool handleCertificateAction(redisContext* context, const std::string& requestKey,
                             const std::string& statusKey) {
    if (requestKey.empty() || statusKey.empty()) {
        gLogger->error("Certificate action: request data structure error.");
        return false;
    }
    nlohmann::json record;
    if (getResource(context, requestKey, record) != STORE_OK) {
        gLogger->error("Certificate action: get request data structure failed.");
        return false;
    }
    const AnswerPlace place = {context, statusKey, stringMember(record, RETURN_CHANNEL_FIELD)};
    const bool isKnown = runAction(place, record);
    publishReply(place);
    return isKnown;
}
