#include "frontend/ctl/collection_hint.h"

#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_text.h"

#include <algorithm>

namespace {

std::string howToSetUp(const std::string& collectionUri) {
    return "`certificatectl init --collection " + collectionUri + "` sets it up.";
}

bool refusesType(const ServiceAnswer& answer) {
    return answer.messageId.ends_with(".PropertyValueNotInList") &&
           std::find(answer.messageArgs.begin(), answer.messageArgs.end(), CERTIFICATE_TYPE) !=
               answer.messageArgs.end();
}

std::vector<std::string> supportedTypes(redisContext* session, const std::string& collectionUri) {
    std::vector<std::string> types;
    for (const std::string& entry :
         runListCommand(session, {"LRANGE", supportedTypesKey(collectionUri), "0", "-1"})) {
        types.push_back(storedString(entry));
    }
    return types;
}

} // namespace

FrontEndError noCollection(const std::string& collectionUri) {
    return {FailureKind::NOT_THERE, "There is no certificate collection at " + collectionUri + ".",
            howToSetUp(collectionUri)};
}

std::string refusalHint(redisContext* session, const std::string& collectionUri,
                        const ServiceAnswer& answer) {
    if (runIntegerCommand(session, {"EXISTS", collectionUri}) == 0) {
        return "There is no collection at " + collectionUri + ". " + howToSetUp(collectionUri);
    }
    const std::vector<std::string> types =
        refusesType(answer) ? supportedTypes(session, collectionUri) : std::vector<std::string>();
    return types.empty() ? std::string() : "The collection takes the types " + joined(types) + ".";
}
