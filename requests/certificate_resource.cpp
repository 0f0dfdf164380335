#include "requests/certificate_resource.h"

#include "core/logger.h"
#include "core/protocol/certificate_defaults.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "core/redis_commands.h"
#include "requests/identifiers.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <unordered_map>

namespace {

nlohmann::json identifierObject(const std::unordered_map<std::string, std::string>& properties) {
    nlohmann::json object = properties;
    const auto email = properties.find(EMAIL);
    if (email == properties.end() || email->second.empty()) {
        object[EMAIL] = nullptr;
    }
    return object;
}

} // namespace

void addCertificateProperties(nlohmann::json& body, const CreateCertResult& result) {
    body[ISSUER] = identifierObject(result.issuer);
    body[SUBJECT] = identifierObject(result.subject);
    body[CERTIFICATE_STRING] = result.certificateString;
    body[VALID_NOT_BEFORE] = result.validNotBefore;
    body[VALID_NOT_AFTER] = result.validNotAfter;
    body[KEY_USAGE] = result.keyUsage;
}

bool createCertificateResource(redisContext* context, nlohmann::json& body,
                               const std::string& identifier, const std::string& newUri) {
    body[ID_PROPERTY] = identifier;
    body[ODATA_ID] = newUri;
    body[ODATA_ETAG] = generateEtag();
    for (const auto& [property, value] : CERTIFICATE_DEFAULTS) {
        body[property] = value;
    }
    return writeResource(context, newUri, body) == STORE_OK;
}

void setPrivateKeyReference(redisContext* context, const std::string& certificateUri,
                            const std::string& privateKeyValue) {
    (void)redisHSet(context, certificateUri, CERT_PRIVATE_KEY_FIELD, privateKeyValue);
}

void replacePrivateKeyReference(redisContext* context, const std::string& certificateUri,
                                const std::string& privateKeyValue) {
    if (privateKeyValue.empty()) {
        (void)redisHDel(context, certificateUri, CERT_PRIVATE_KEY_FIELD);
    } else {
        setPrivateKeyReference(context, certificateUri, privateKeyValue);
    }
}

bool addCollectionMember(redisContext* context, const std::string& newUri,
                         const std::string& collectionUri) {
    int count = 0;
    if (redisLPush(context, memberListKey(collectionUri), referenceEntry(newUri), count) == 0) {
        return false;
    }
    const nlohmann::json change = {{MEMBERS_ODATA_COUNT, count}, {ODATA_ETAG, generateEtag()}};
    if (updateResource(context, collectionUri, change, nullptr) != STORE_OK) {
        gLogger->error("Failed to update resource %s.", collectionUri.c_str());
        return false;
    }
    return true;
}

bool addCertificateLocation(redisContext* context, const std::string& newUri,
                            const std::string& linksKey) {
    if (redisLPush(context, linksKey, referenceEntry(newUri)) == 0) {
        return false;
    }
    // The link is what counts; a tag that stays behind is no failure.
    (void)redisHSet(context, CERTIFICATE_LOCATIONS_URI, ODATA_ETAG, generateEtag());
    return true;
}
