#include "actions/replace_certificate.h"

#include "actions/certificate_type.h"
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
#include "requests/no_operation.h"
#include "requests/request_record.h"
#include "requests/resource_events.h"
#include "requests/return_status.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace {

constexpr std::int32_t SUCCESS = 200;

bool refuseAction(redisContext* context, const std::string& statusKey, const std::string& messageId,
                  const std::vector<std::string>& messageArgs) {
    (void)writeReturnStatus(context, statusKey, nlohmann::json::object(), STATUS_FAILURE, messageId,
                            messageArgs, true);
    return false;
}

// Refuses a URI that names no certificate, or one that does not allow its replacement.
bool isReplaceable(redisContext* context, const std::string& statusKey,
                   const std::string& certificateUri) {
    const std::string type = redisHGet(context, certificateUri, ODATA_TYPE);
    if (type.empty()) {
        gLogger->error("ReplaceCertificate: %s is not a certificate resource.",
                       certificateUri.c_str());
        return refuseAction(context, statusKey, MSG_RESOURCE_MISSING_AT_URI, {certificateUri});
    }
    // A blocked certificate gets the same answer as a resource of another kind; clients know no
    // other.
    if (redisHExists(context, certificateUri, BLOCK_REPLACE_CERTIFICATE_FIELD) == 1 ||
        !isCertificateType(type)) {
        gLogger->error("ReplaceCertificate: %s is not a certificate resource or the certificate "
                       "resource doesn't support the replace action.",
                       certificateUri.c_str());
        return refuseAction(context, statusKey, MSG_ACTION_NOT_SUPPORTED_ON_REFERENCE,
                            {certificateUri, ODATA_ID, REPLACE_CERTIFICATE_ACTION_NAME});
    }
    return true;
}

bool answerResult(redisContext* context, const std::string& statusKey,
                  const std::string& certificateUri, const CreateCertResult& result) {
    if (result.code != SUCCESS) {
        writeErrorReturnStatus(context, statusKey, result.code, result.message);
        return false;
    }
    if (result.message.MessageId != MSG_NO_OPERATION) {
        finishCertificateReplace(context, certificateUri, result, statusKey);
        return true;
    }
    gLogger->debug("The certificate string is not changed, doesn't need to update the certificate "
                   "resource.");
    (void)redisHSet(context, statusKey, LOCATION_FIELD, certificateUri);
    writeNoOperationResponse(context, statusKey, MSG_NO_OPERATION);
    return true;
}

} // namespace

bool replaceCertificate(redisContext* context, const std::string& requestDataKey,
                        const std::string& statusKey) {
    nlohmann::json body;
    if (getResource(context, requestDataKey, body) != STORE_OK) {
        (void)refuseRequest(context, statusKey, "ReplaceCertificate: get request data failed.");
        return false;
    }
    ReplaceCertRequest request;
    request.certificateUri = stringMember(body[CERTIFICATE_URI], ODATA_ID);
    request.certificateString = stringMember(body, CERTIFICATE_STRING);
    if (!isReplaceable(context, statusKey, request.certificateUri)) {
        return false;
    }
    // Read only now: a wrong certificate is answered even when the type is missing.
    request.certificateType = stringMember(body, CERTIFICATE_TYPE);
    if (!isSupportedCertificateType(context, parentUri(request.certificateUri),
                                    request.certificateType)) {
        return refuseAction(context, statusKey, MSG_PROPERTY_VALUE_NOT_IN_LIST,
                            {request.certificateType, CERTIFICATE_TYPE});
    }
    request.rootCaFile = gRootCaFile;
    return answerResult(context, statusKey, request.certificateUri,
                        replaceCertificateHandler(request));
}
