#include "frontend/web/resources/certificate_service.h"

#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/web/resources/certificate_actions.h"
#include "frontend/web/service/stored_certificates.h"
#include "frontend/web/service/web_service.h"

namespace {

using nlohmann::json;

constexpr const char* ACTION_INFO = "@Redfish.ActionInfo";

// As Redis holds it. Throws when it holds none.
json storedDocument(redisContext* context, const std::string& uri) {
    json document = clientView(readDocument(context, uri));
    if (!document.is_object()) {
        throw notFound(uri);
    }
    document[ODATA_ID] = uri;
    return document;
}

void addActionInfo(json& service, const std::string& action, const char* uri) {
    const json::json_pointer place("/Actions/#" + action);
    if (service.contains(place) && service[place].is_object()) {
        service[place][ACTION_INFO] = uri;
    }
}

Answer getCertificateService(WebService& service, const Call& /*call*/) {
    const BorrowedSession session(service.redis);
    json document = storedDocument(session.get(), CERTIFICATE_SERVICE_URI);
    addActionInfo(document, GENERATE_CSR_ACTION_NAME, GENERATE_CSR_ACTION_INFO_URI);
    addActionInfo(document, REPLACE_CERTIFICATE_ACTION_NAME, REPLACE_CERTIFICATE_ACTION_INFO_URI);
    return {.document = std::move(document)};
}

Answer getCertificateLocations(WebService& service, const Call& /*call*/) {
    const BorrowedSession session(service.redis);
    json document = storedDocument(session.get(), CERTIFICATE_LOCATIONS_URI);
    json certificates =
        referencesTo(allCertificates(session.get(), service.settings.certificatesUri));
    document["Links"]["Certificates@odata.count"] = certificates.size();
    document["Links"]["Certificates"] = std::move(certificates);
    return {.document = std::move(document)};
}

} // namespace

Routes certificateServiceRoutes() {
    return {{CERTIFICATE_SERVICE_URI, "GET", getCertificateService},
            {CERTIFICATE_LOCATIONS_URI, "GET", getCertificateLocations}};
}
