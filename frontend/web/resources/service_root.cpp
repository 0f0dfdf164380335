#include "frontend/web/resources/service_root.h"

#include "core/protocol/redfish_names.h"
#include "frontend/records/seed_records.h"
#include "frontend/web/resources/manager_resources.h"
#include "frontend/web/resources/metadata.h"
#include "frontend/web/service/installation_uuid.h"

namespace {

using nlohmann::json;

constexpr const char* ROOT_URI = "/redfish/v1/";
constexpr const char* SESSION_SERVICE_URI = "/redfish/v1/SessionService";
constexpr const char* SESSIONS_URI = "/redfish/v1/SessionService/Sessions";
constexpr const char* METADATA_URI = "/redfish/v1/$metadata";

json linkTo(const char* uri) {
    return {{ODATA_ID, uri}};
}

json protocolFeatures() {
    return {{"ExpandQuery",
             {{"ExpandAll", false}, {"Levels", false}, {"Links", false}, {"NoLinks", false}}},
            {"DeepOperations", {{"DeepPATCH", false}, {"DeepPOST", false}}},
            {"ExcerptQuery", false},
            {"FilterQuery", false},
            {"OnlyMemberQuery", false},
            {"SelectQuery", false}};
}

Answer getVersions(WebService& /*service*/, const Call& /*call*/) {
    return {.document = {{"v1", ROOT_URI}}};
}

// The root has two URIs, and shows the one that it was asked for by.
Answer getRoot(WebService& /*service*/, const Call& call) {
    json document = {{ODATA_ID, call.request.path.ends_with('/') ? ROOT_URI : call.uri},
                     {ODATA_TYPE, "#ServiceRoot.v1_9_0.ServiceRoot"},
                     {ID_PROPERTY, "RootService"},
                     {NAME_PROPERTY, "Root Service"},
                     {"RedfishVersion", "1.11.0"},
                     {"ProtocolFeaturesSupported", protocolFeatures()},
                     {"CertificateService", linkTo(CERTIFICATE_SERVICE_URI)},
                     {"EventService", linkTo(EVENT_SERVICE_URI)},
                     {"Managers", linkTo(MANAGERS_URI)},
                     {"SessionService", linkTo(SESSION_SERVICE_URI)},
                     {"Tasks", linkTo(TASK_SERVICE_URI)},
                     {"Links", {{"Sessions", linkTo(SESSIONS_URI)}}}};
    const std::string uuid = installationUuid();
    if (!uuid.empty()) {
        document["UUID"] = uuid;
    }
    return {.document = std::move(document)};
}

json serviceEntry(const char* name, const char* uri) {
    return {{"name", name}, {"kind", "Singleton"}, {"url", uri}};
}

Answer getServiceDocument(WebService& /*service*/, const Call& /*call*/) {
    return {.document = {{"@odata.context", METADATA_URI},
                         {"value",
                          {serviceEntry("Service", ROOT_URI),
                           serviceEntry("CertificateService", CERTIFICATE_SERVICE_URI),
                           serviceEntry("EventService", EVENT_SERVICE_URI),
                           serviceEntry("Managers", MANAGERS_URI),
                           serviceEntry("SessionService", SESSION_SERVICE_URI),
                           serviceEntry("Tasks", TASK_SERVICE_URI)}}}};
}

Answer getMetadata(WebService& /*service*/, const Call& /*call*/) {
    return {.document = nullptr, .contentType = "application/xml", .body = metadataDocument()};
}

} // namespace

Routes serviceRootRoutes() {
    return {{"/redfish", "GET", getVersions, Access::OPEN},
            {"/redfish/v1", "GET", getRoot, Access::OPEN},
            {"/redfish/v1/odata", "GET", getServiceDocument, Access::OPEN},
            {METADATA_URI, "GET", getMetadata, Access::OPEN}};
}
