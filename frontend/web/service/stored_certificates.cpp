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
    return storedString(readHashField(context, uri, ODATA_TYPE));
}

// Of any schema version.
bool isCertificateType(const std::string& type) {
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

bool isNamed(redisContext* context, const std::string& uri) {
    return isNamedIn(context, memberListKey(parentUri(uri)), uri) ||
           isNamedIn(context, CERTIFICATE_LOCATIONS_LINKS_KEY, uri);
}

} // namespace

bool holdsCollection(redisContext* context, const std::string& uri) {
    return storedType(context, uri) == CERTIFICATE_COLLECTION_ODATA_TYPE;
}

StoredPlace placeAt(redisContext* context, const std::string& uri) {
    const std::string type = storedType(context, uri);
    if (type == CERTIFICATE_COLLECTION_ODATA_TYPE) {
        return StoredPlace::COLLECTION;
    }
    if (!holdsCollection(context, parentUri(uri))) {
        return StoredPlace::NOTHING;
    }
    if (withoutMembersSegment(uri) != uri) {
        return StoredPlace::MEMBERS;
    }
    if (isCertificateType(type)) {
        return StoredPlace::CERTIFICATE;
    }
    return isNamed(context, uri) ? StoredPlace::REMAINS : StoredPlace::NOTHING;
}

std::vector<std::string> collectionMembers(redisContext* context,
                                           const std::string& collectionUri) {
    std::vector<std::string> members;
    std::set<std::string> known;
    for (std::string& uri : referencedUris(context, memberListKey(collectionUri))) {
        const bool isMember =
            parentUri(uri) == collectionUri && isCertificateType(storedType(context, uri));
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
    const nlohmann::json stored = readDocument(context, uri);
    return stored.is_object() ? certificateView(stored, uri, std::time(nullptr)) : nlohmann::json();
}

nlohmann::json referencesTo(const std::vector<std::string>& uris) {
    nlohmann::json references = nlohmann::json::array();
    for (const std::string& uri : uris) {
        references.push_back({{ODATA_ID, uri}});
    }
    return references;
}
