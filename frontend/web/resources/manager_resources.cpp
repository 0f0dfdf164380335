#include "frontend/web/resources/manager_resources.h"

#include "core/protocol/redfish_names.h"
#include "frontend/web/service/installation_uuid.h"
#include "frontend/web/service/stored_certificates.h"
#include "frontend/web/service/web_service.h"

namespace {

using nlohmann::json;

constexpr const char* MANAGER_URI = "/redfish/v1/Managers/1";
constexpr const char* NETWORK_PROTOCOL_URI = "/redfish/v1/Managers/1/NetworkProtocol";

json goodStatus() {
    return {{"State", "Enabled"}, {"Health", "OK"}};
}

Answer getManagers(WebService& /*service*/, const Call& /*call*/) {
    return {.document = {{ODATA_ID, MANAGERS_URI},
                         {ODATA_TYPE, "#ManagerCollection.ManagerCollection"},
                         {NAME_PROPERTY, "Manager Collection"},
                         {"Members", referencesTo({MANAGER_URI})},
                         {MEMBERS_ODATA_COUNT, 1}}};
}

Answer getManager(WebService& /*service*/, const Call& /*call*/) {
    json document = {{ODATA_ID, MANAGER_URI},
                     {ODATA_TYPE, "#Manager.v1_11_0.Manager"},
                     {ID_PROPERTY, "1"},
                     {NAME_PROPERTY, "Manager"},
                     {"ManagerType", "BMC"},
                     {"Status", goodStatus()},
                     {"NetworkProtocol", {{ODATA_ID, NETWORK_PROTOCOL_URI}}}};
    const std::string uuid = installationUuid();
    if (!uuid.empty()) {
        document["ServiceEntryPointUUID"] = uuid;
    }
    return {.document = std::move(document)};
}

// Of the listener that this request came in by.
json httpsOf(WebService& service) {
    json https = {{"ProtocolEnabled", true}};
    const int port = service.port;
    if (port != 0) {
        https["Port"] = port;
    }
    const std::string& certificates = service.settings.certificatesUri;
    const BorrowedSession session(service.redis);
    if (holdsCollection(session.get(), certificates)) {
        https["Certificates"] = {{ODATA_ID, certificates}};
    }
    return https;
}

Answer getNetworkProtocol(WebService& service, const Call& /*call*/) {
    return {.document = {{ODATA_ID, NETWORK_PROTOCOL_URI},
                         {ODATA_TYPE, "#ManagerNetworkProtocol.v1_6_1.ManagerNetworkProtocol"},
                         {ID_PROPERTY, "NetworkProtocol"},
                         {NAME_PROPERTY, "Manager Network Protocol"},
                         {"Status", goodStatus()},
                         {"HTTP", {{"ProtocolEnabled", false}}},
                         {"HTTPS", httpsOf(service)}}};
}

} // namespace

Routes managerRoutes() {
    return {{MANAGERS_URI, "GET", getManagers},
            {MANAGER_URI, "GET", getManager},
            {NETWORK_PROTOCOL_URI, "GET", getNetworkProtocol}};
}
