#include "frontend/web/service/stored_certificates.h"

#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/web/service/certificate_view.h"
#include "store/markers.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ctime>
#include <set>

namespace {

std::string storedType(redisContext* context, const std::string& uri) {
    // Redis answers with an error when asked for a field of what is no hash.
    return runTextCommand(context, {"TYPE", uri}) == "hash"
               ? storedString(runTextCommand(context, {"HGET", uri, ODATA_TYPE}))
               : std::string();
}

// Of any schema version.
bool isCertificate(redisContext* context, const std::string& uri) {
    const std::string type = storedType(context, uri);
    return type.starts_with("#Certificate.") && type.ends_with(".Certificate");
}

std::vector<std::string> referencedUris(redisContext* context, const std::string& listKey) {
    std::vector<std::string> uris;
    for (const std::string& entry : runListCommand(context, {"LRANGE", listKey, "0", "-1"})) {
        const Marker marker = parseListMarker(entry);
        if (marker.kind == MarkerKind::REFERENCE) {
            uris.emplace_back(marker.target);
        }
    }
    return uris;
}

bool isNamedIn(redisContext* context, const std::string& listKey, const std::string& uri) {
    const std::vector<std::string> uris = referencedUris(context, listKey);
    return std::find(uris.begin(), uris.end(), uri) != uris.end();
}

} // namespace

bool holdsCollection(redisContext* context, const std::string& uri) {
    return storedType(context, uri) == CERTIFICATE_COLLECTION_ODATA_TYPE;
}

bool holdsCertificate(redisContext* context, const std::string& uri) {
    return isCertificate(context, uri) && holdsCollection(context, parentUri(uri));
}

bool isCertificateNamed(redisContext* context, const std::string& uri) {
    return isNamedIn(context, memberListKey(parentUri(uri)), uri) ||
           isNamedIn(context, CERTIFICATE_LOCATIONS_LINKS_KEY, uri);
}

std::vector<std::string> collectionMembers(redisContext* context,
                                           const std::string& collectionUri) {
    std::vector<std::string> members;
    std::set<std::string> known;
    for (std::string& uri : referencedUris(context, memberListKey(collectionUri))) {
        const bool isMember = parentUri(uri) == collectionUri && isCertificate(context, uri);
        if (isMember && known.insert(uri).second) {
            members.push_back(std::move(uri));
        }
    }
    return members;
}

std::vector<std::string> allCertificates(redisContext* context, const std::string& collectionUri) {
    std::set<std::string> collections = {collectionUri};
    for (const std::string& uri : referencedUris(context, CERTIFICATE_LOCATIONS_LINKS_KEY)) {
        collections.insert(parentUri(uri));
    }
    std::vector<std::string> certificates;
    for (const std::string& uri : collections) {
        if (holdsCollection(context, uri)) {
            const std::vector<std::string> members = collectionMembers(context, uri);
            certificates.insert(certificates.end(), members.begin(), members.end());
        }
    }
    return certificates;
}

nlohmann::json readCertificate(redisContext* context, const std::string& uri) {
    return holdsCertificate(context, uri)
               ? certificateView(readDocument(context, uri), uri, std::time(nullptr))
               : nlohmann::json();
}

nlohmann::json referencesTo(const std::vector<std::string>& uris) {
    nlohmann::json references = nlohmann::json::array();
    for (const std::string& uri : uris) {
        references.push_back({{ODATA_ID, uri}});
    }
    return references;
}
