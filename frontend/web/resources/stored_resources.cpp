#include "frontend/web/resources/stored_resources.h"

#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/web/resources/certificate_changes.h"
#include "frontend/web/service/stored_certificates.h"
#include "frontend/web/service/web_service.h"

#include <array>

namespace {

using nlohmann::json;

constexpr std::string_view ROOT = "/redfish/v1/";
constexpr std::array<const char*, 7> COLLECTION_PROPERTIES = {DESCRIPTION_PROPERTY,
                                                              "Members",
                                                              NAME_PROPERTY,
                                                              ODATA_ETAG,
                                                              ODATA_TYPE,
                                                              "Oem",
                                                              "@Redfish.SupportedCertificates"};

StoredPlace placeOf(WebService& service, const std::string& uri) {
    const BorrowedSession session(service.redis);
    return uri.starts_with(ROOT) ? placeAt(session.get(), uri) : StoredPlace::NOTHING;
}

std::string allowedMethods(StoredPlace place) {
    switch (place) {
    case StoredPlace::COLLECTION:
        return "GET, HEAD, POST";
    case StoredPlace::MEMBERS:
        return "POST";
    case StoredPlace::CERTIFICATE:
        return "GET, HEAD, DELETE";
    case StoredPlace::REMAINS:
        return "DELETE";
    case StoredPlace::NOTHING:
        break;
    }
    return {};
}

bool isReading(const Call& call) {
    return call.request.method == "GET" || call.request.method == "HEAD";
}

json collectionView(redisContext* context, const std::string& uri) {
    const json stored = clientView(readDocument(context, uri));
    if (!stored.is_object()) {
        return nullptr;
    }
    json view = {{ODATA_ID, uri}, {NAME_PROPERTY, "Certificate Collection"}};
    for (const char* property : COLLECTION_PROPERTIES) {
        if (stored.contains(property)) {
            view[property] = stored[property];
        }
    }
    view["Members"] = referencesTo(collectionMembers(context, uri));
    view[MEMBERS_ODATA_COUNT] = view["Members"].size();
    return view;
}

Answer readPlace(WebService& service, StoredPlace place, const std::string& uri) {
    const BorrowedSession session(service.redis);
    json document = place == StoredPlace::COLLECTION ? collectionView(session.get(), uri)
                                                     : readCertificate(session.get(), uri);
    if (document.is_null()) { // gone meanwhile
        throw notFound(uri);
    }
    return {.document = std::move(document)};
}

Answer changePlace(WebService& service, const Call& call) {
    return call.request.method == "POST"
               ? createCertificate(service, call, withoutMembersSegment(call.uri))
               : deleteCertificate(service, call);
}

} // namespace

Answer answerStored(WebService& service, const Call& call) {
    const StoredPlace place = placeOf(service, call.uri);
    const std::string& method = call.request.method;
    const bool isGone = place == StoredPlace::REMAINS && method != "DELETE";
    if (place == StoredPlace::NOTHING || isGone) {
        throw notFound(call.uri);
    }
    const std::string allowed = allowedMethods(place);
    if ((", " + allowed + ",").find(", " + method + ",") == std::string::npos) {
        throw methodNotAllowed(method, allowed);
    }
    Answer answer =
        isReading(call) ? readPlace(service, place, call.uri) : changePlace(service, call);
    answer.headers.emplace_back("Allow", allowed);
    return answer;
}
