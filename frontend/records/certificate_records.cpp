#include "frontend/records/certificate_records.h"

#include "core/protocol/certificate_defaults.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/certificate_properties.h"
#include "frontend/records/member_count.h"
#include "frontend/records/seed_records.h"
#include "frontend/records/timestamps.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace {

void removeEntry(redisContext* context, const std::string& listKey, const std::string& uri) {
    (void)runCommand(context, {"LREM", listKey, "0", referenceEntry(uri)});
}

std::vector<std::string> entriesOf(redisContext* context, const std::string& listKey) {
    const std::string beginning = referenceEntry("");
    std::vector<std::string> uris;
    for (const std::string& entry : runListCommand(context, {"LRANGE", listKey, "0", "-1"})) {
        if (entry.starts_with(beginning)) {
            uris.push_back(entry.substr(beginning.size()));
        }
    }
    return uris;
}

bool holdsEntry(redisContext* context, const std::string& listKey, const std::string& uri) {
    const std::vector<std::string> uris = entriesOf(context, listKey);
    return std::find(uris.begin(), uris.end(), uri) != uris.end();
}

void addEntry(redisContext* context, const std::string& listKey, const std::string& uri) {
    if (!holdsEntry(context, listKey, uri)) {
        (void)runCommand(context, {"LPUSH", listKey, referenceEntry(uri)});
    }
}

// Parts of a resource that stand under keys of their own.
void removeNested(redisContext* context, const std::string& uri,
                  std::initializer_list<const char*> names) {
    for (const char* name : names) {
        removeStoredTree(context, MARKER_PREFIX + uri + "/" + name);
    }
}

bool isThere(redisContext* context, const std::string& key) {
    return runIntegerCommand(context, {"EXISTS", key}) > 0;
}

// The count and both entity tags, after a change of the lists.
void refreshCollection(redisContext* context, const std::string& collection) {
    refreshMemberCount(context, collection);
    (void)runCommand(context, {"HSET", CERTIFICATE_LOCATIONS_URI, ODATA_ETAG, entityTag()});
}

} // namespace

void removeCertificateRecords(redisContext* context, const std::string& certificateUri) {
    const std::string collection = parentUri(certificateUri);
    const std::string members = memberListKey(collection);
    removeStoredTree(context, certificateUri);
    removeEntry(context, members, certificateUri);
    removeEntry(context, CERTIFICATE_LOCATIONS_LINKS_KEY, certificateUri);
    refreshCollection(context, collection);
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
    removeNested(context, certificateUri, {SUBJECT, ISSUER});
    return updateResource(context, certificateUri, properties, nullptr) == STORE_OK;
}

bool restoreCertificateRecords(redisContext* context, const std::string& certificateUri,
                               const InstalledCertificate& certificate) {
    const std::string collection = parentUri(certificateUri);
    nlohmann::json resource = certificateProperties(certificate.text);
    if (resource.is_null() || !isThere(context, collection)) {
        return false;
    }
    for (const auto& [property, value] : CERTIFICATE_DEFAULTS) {
        resource[property] = value;
    }
    resource[ID_PROPERTY] = certificateUri.substr(collection.size() + 1);
    resource[ODATA_ID] = certificateUri;
    resource[ODATA_ETAG] = entityTag();
    resource[CERTIFICATE_TYPE] = certificate.type;
    // Of a resource that was stored in part, which nothing leads to any more.
    removeNested(context, certificateUri, {SUBJECT, ISSUER, KEY_USAGE});
    if (writeResource(context, certificateUri, resource) != STORE_OK) {
        return false;
    }
    if (!certificate.privateKeyReference.empty()) {
        (void)runCommand(context, {"HSET", certificateUri, CERT_PRIVATE_KEY_FIELD,
                                   certificate.privateKeyReference});
    }
    addEntry(context, memberListKey(collection), certificateUri);
    addEntry(context, CERTIFICATE_LOCATIONS_LINKS_KEY, certificateUri);
    refreshCollection(context, collection);
    return true;
}

bool isCertificateStored(redisContext* context, const std::string& certificateUri) {
    return isThere(context, certificateUri) &&
           holdsEntry(context, memberListKey(parentUri(certificateUri)), certificateUri) &&
           holdsEntry(context, CERTIFICATE_LOCATIONS_LINKS_KEY, certificateUri);
}

std::vector<std::string> listCertificateRecords(redisContext* context,
                                                const std::vector<std::string>& otherUris) {
    const std::vector<std::string> located = entriesOf(context, CERTIFICATE_LOCATIONS_LINKS_KEY);
    std::set<std::string> uris(located.begin(), located.end());
    std::set<std::string> collections = {DEFAULT_COLLECTION_URI};
    for (const auto* list : {&located, &otherUris}) {
        for (const std::string& uri : *list) {
            collections.insert(parentUri(uri));
        }
    }
    for (const std::string& collection : collections) {
        const std::vector<std::string> members = entriesOf(context, memberListKey(collection));
        uris.insert(members.begin(), members.end());
    }
    return {uris.begin(), uris.end()};
}
