#include "frontend/certificate_records.h"

#include "core/constants.h"
#include "frontend/certificate_properties.h"
#include "frontend/redis_session.h"
#include "frontend/stored_tree.h"
#include "frontend/timestamps.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

namespace {

void removeEntry(redisContext* context, const std::string& listKey, const std::string& uri) {
    (void)runCommand(context, {"LREM", listKey, "0", OBJECT_REF_MARKER + " " + uri});
}

} // namespace

void removeCertificateRecords(redisContext* context, const std::string& certificateUri) {
    const std::string collection = collectionOf(certificateUri);
    const std::string members = MARKER_PREFIX + collection + "/Members";
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
    for (const std::string& name : {SUBJECT, ISSUER}) {
        removeStoredTree(context, nested + name);
    }
    return updateResource(context, certificateUri, properties, nullptr) == STORE_OK;
}

std::string collectionOf(const std::string& certificateUri) {
    return certificateUri.substr(0, certificateUri.rfind('/'));
}
