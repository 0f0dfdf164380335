#include "actions/generate_csr.h"

#include "actions/csr_request.h"
#include "actions/csr_response.h"
#include "actions/pending_csr.h"
#include "actions/task_state.h"
#include "core/at_scope_end.h"
#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/redfish_names.h"
#include "core/redis_commands.h"
#include "core/secret.h"
#include "requests/backend_result.h"
#include "requests/refusal.h"
#include "requests/request_record.h"
#include "requests/return_status.h"
#include "store/value_text.h"

#include <nlohmann/json.hpp>

#include <memory>

namespace {

// False when the parameter is an object without a URI.
bool readCollectionUri(nlohmann::json& body, std::string& collectionUri) {
    const nlohmann::json& collection = body[CERTIFICATE_COLLECTION];
    try {
        collectionUri = collection.at(ODATA_ID).get<std::string>();
        return true;
    } catch (const nlohmann::json::out_of_range&) {
        return false;
    }
}

// Refuses a collection that is not there or does not take signing requests.
bool acceptsSigningRequests(const AnswerPlace& place, const std::string& collectionUri) {
    const bool isBlocked =
        redisHExists(place.context, collectionUri, BLOCK_CSR_GENERATION_FIELD) == 1;
    const std::string type = redisHGet(place.context, collectionUri, ODATA_TYPE);
    if (type.empty()) {
        return refuseRequest(place,
                             "generateCSR: the value of CertificateCollection is not a resource.",
                             failureAnswer(MSG_RESOURCE_MISSING_AT_URI, {collectionUri}));
    }
    // A blocked collection gets the same answer as a resource of another kind; clients know no
    // other.
    if (isBlocked || type != quotedText(CERTIFICATE_COLLECTION_ODATA_TYPE)) {
        return refuseRequest(place,
                             "generateCSR: the value of CertificateCollection doesn't point to a "
                             "CertificateCollection resource",
                             failureAnswer(MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE,
                                           {collectionUri, ODATA_ID, GENERATE_CSR_ACTION_NAME}));
    }
    return true;
}

// Reads and checks the collection that the request is for.
bool takeCollection(const AnswerPlace& place, nlohmann::json& body, std::string& collectionUri) {
    if (!readCollectionUri(body, collectionUri)) {
        return refuseRequest(
            place, "generateCSR: the value of CertificateCollection object is empty.",
            failureAnswer(MSG_ACTION_PARAMETER_VALUE_FORMAT_ERROR,
                          {"{}", CERTIFICATE_COLLECTION, GENERATE_CSR_ACTION_NAME}));
    }
    return acceptsSigningRequests(place, collectionUri);
}

bool runAtOnce(const AnswerPlace& place, const CSRRequest& request) {
    const CSRResult result = generateCSRHandler(request);
    if (!isBackendSuccess(result.code)) {
        return refuseRequest(place, "generateCSR: generate key failed.",
                             backendFailure(result.code, result.message));
    }
    writeCSRResponse(place.context, place.statusKey, result.csr, request.collectionUri);
    return true;
}

bool queueTask(const AnswerPlace& place, const std::string& taskUri, const CSRRequest& request) {
    // The line feed of its own is what log readers find there.
    gLogger->debug("bIsAsyncAlg response processing\n");
    writePendingTaskStatus(place.context, place.statusKey, taskUri);
    publishTaskState(place.context, {taskUri, TASK_PENDING});
    auto record = std::make_unique<PendingCSR>(PendingCSR{request, taskUri, request.collectionUri});
    pushPendingCSR(record.release());
    return true;
}

} // namespace

bool generateCSR(redisContext* context, const std::string& returnChannel,
                 const std::string& requestDataKey, const std::string& statusKey,
                 const std::string& taskUri) {
    const AnswerPlace place = {context, statusKey, returnChannel};
    nlohmann::json body;
    CSRRequest request;
    const AtScopeEnd wiper([&] {
        wipeChallengePassword(request);
        wipeDocument(body);
    });
    if (!readRequestBody(context, requestDataKey, body)) {
        return refuseRequest(place, "generateCSR: get request data failed.");
    }
    if (!takeCollection(place, body, request.collectionUri)) {
        return false;
    }
    fillCSRRequest(request, body);
    completeKeyPairAlgorithm(request);
    return runsAsTask(request) ? queueTask(place, taskUri, request) : runAtOnce(place, request);
}
