#include "core/protocol/keys.h"

#include "core/protocol/fields.h"
#include "core/protocol/redfish_names.h"

namespace {

constexpr char MEMBERS_SEGMENT[] = "/Members";

} // namespace

void addMarkerPrefix(std::string& key) {
    if (!key.starts_with(MARKER_PREFIX)) {
        key.insert(0, MARKER_PREFIX);
    }
}

std::string parentUri(const std::string& uri) {
    return uri.substr(0, uri.find_last_of('/'));
}

std::string memberUri(const std::string& collectionUri, const std::string& identifier) {
    return collectionUri + "/" + identifier;
}

std::string withoutMembersSegment(const std::string& uri) {
    return uri.ends_with(MEMBERS_SEGMENT) ? parentUri(uri) : uri;
}

std::string memberListKey(const std::string& collectionUri) {
    return MARKER_PREFIX + collectionUri + MEMBERS_SEGMENT;
}

std::string supportedTypesKey(const std::string& collectionUri) {
    return MARKER_PREFIX + collectionUri + "/@Redfish.SupportedCertificates";
}

std::string referenceEntry(const std::string& uri) {
    return std::string(OBJECT_REF_MARKER) + " " + uri;
}

std::string referenceField(const std::string& member, const std::string& uri) {
    return std::string(OBJECT_REF_MARKER) + " " + member + " " + uri;
}

ExtendedInfoKeys extendedInfoKeys(const std::string& statusKey) {
    // Without a "/" find_last_of gives npos, and npos + 1 keeps nothing of the key.
    const std::string info = statusKey.substr(0, statusKey.find_last_of('/') + 1) + "ExtendedInfo";
    const std::string element = info + "/1";
    return {info, element, element + "/MessageArgs", element + "/RelatedProperties"};
}

std::string responseDataKey(const std::string& statusKey) {
    return statusKey + "/ResponseData";
}

std::string taskResultKey(const std::string& taskUri) {
    return MARKER_PREFIX + taskUri + "/Result";
}

std::string taskExtendedInfoKey(const std::string& taskUri) {
    return MARKER_PREFIX + taskUri + "/ExtendedInfo";
}

RequestRecordKeys requestRecordKeys(std::string_view identifier) {
    std::string request = std::string(MARKER_PREFIX) + CERTIFICATE_SERVICE_URI + "/Requests/";
    request += identifier;
    return {request, request + "/RequestData", request + "/Status", request + "/Return"};
}
