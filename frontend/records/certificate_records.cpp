#include "frontend/records/certificate_records.h"

#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/certificate_properties.h"
#include "frontend/records/timestamps.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

void removeEntry(redisContext* context, const std::string& listKey, const std::string& uri) {
    (void)runCommand(context, {"LREM", listKey, "0", referenceEntry(uri)});
}

} // namespace

void removeCertificateRecords(redisContext* context, const std::string& certificateUri) {
    const std::string collection = parentUri(certificateUri);
    const std::string members = memberListKey(collection);
    removeStoredTree(context, certificateUri);
    removeEntry(context, members, certificateUri);
    removeEntry(context, CERTIFICATE_LOCATIONS_LINKS_KEY, certificateUri);
    const long long count = runIntegerCommand(context, {"LLEN", members});
    (void)updateResource(context, collection,
                         {{MEMBERS_ODATA_COUNT, count}, {ODATA_ETAG, entityTag()}}, nullptr);
    (void)runCommand(context, {"HSET", CERTIFICATE_LOCATIONS_URI, ODATA_ETAG, entityTag()});
}

bool refreshCertificateRecords(redisContext* context, const std::string& certificateUri,
                               const std::string& text, const std::string& certificateType) {
    nlohmann::json properties = certificateProperties(text);
    if (properties.is_null()) {
        return false;
    }
    properties[CERTIFICATE_TYPE] = certificateType;
    properties[ODATA_ETAG] = entityTag();
    // An update merges: a part of the old name that the new one lacks would stay.
    const std::string nested = MARKER_PREFIX + certificateUri + "/";
    for (const char* name : {SUBJECT, ISSUER}) {
        removeStoredTree(context, nested + name);
    }
    return updateResource(context, certificateUri, properties, nullptr) == STORE_OK;
}
