#include "requests/supported_types.h"

#include "core/protocol/keys.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/redfish_names.h"
#include "core/redis_commands.h"
#include "requests/refusal.h"
#include "store/value_text.h"

#include <algorithm>
#include <vector>

bool isSupportedCertificateType(redisContext* context, const std::string& collectionUri,
                                const std::string& certificateType) {
    std::vector<std::string> supported;
    (void)redisLRange(context, supportedTypesKey(collectionUri), supported);
    const std::string stored = quotedText(certificateType);
    return std::find(supported.begin(), supported.end(), stored) != supported.end();
}

bool acceptsCertificateType(const AnswerPlace& place, const std::string& collectionUri,
                            const std::string& certificateType) {
    if (isSupportedCertificateType(place.context, collectionUri, certificateType)) {
        return true;
    }
    (void)writeAnswer(
        place, failureAnswer(MSG_PROPERTY_VALUE_NOT_IN_LIST, {certificateType, CERTIFICATE_TYPE}));
    return false;
}
