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

// What stands under a URI.
enum class Kind {
    NOTHING,
    COLLECTION,
    MEMBERS, // takes what the collection takes
    CERTIFICATE,
    REMAINS // lists name a certificate that does not stand there any more
};

Kind kindOf(WebService& service, const std::string& uri) {
    const BorrowedSession session(service.redis);
    redisContext* const context = session.get();
    if (!uri.starts_with(ROOT)) {
        return Kind::NOTHING;
    }
    if (holdsCollection(context, uri)) {
        return Kind::COLLECTION;
    }
    if (!holdsCollection(context, parentUri(uri))) {
        return Kind::NOTHING;
    }
    if (withoutMembersSegment(uri) != uri) {
        return Kind::MEMBERS;
    }
    if (holdsCertificate(context, uri)) {
        return Kind::CERTIFICATE;
    }
    return isCertificateNamed(context, uri) ? Kind::REMAINS : Kind::NOTHING;
}

bool isReading(const Call& call) {
    return call.request.method == "GET" || call.request.method == "HEAD";
}

json collectionView(redisContext* context, const std::string& uri) {
    const json stored = clientView(readDocument(context, uri));
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

Answer withAllow(Answer answer, const char* allowed) {
    answer.headers.emplace_back("Allow", allowed);
    return answer;
}

Answer answerCollection(WebService& service, const Call& call) {
    constexpr const char* ALLOWED = "GET, HEAD, POST";
    if (call.request.method == "POST") {
        return withAllow(createCertificate(service, call, call.uri), ALLOWED);
    }
    if (!isReading(call)) {
        throw methodNotAllowed(call.request.method, ALLOWED);
    }
    const BorrowedSession session(service.redis);
    return withAllow({.document = collectionView(session.get(), call.uri)}, ALLOWED);
}

Answer answerMembers(WebService& service, const Call& call) {
    constexpr const char* ALLOWED = "POST";
    if (call.request.method != "POST") {
        throw methodNotAllowed(call.request.method, ALLOWED);
    }
    return withAllow(createCertificate(service, call, withoutMembersSegment(call.uri)), ALLOWED);
}

Answer answerCertificate(WebService& service, const Call& call) {
    constexpr const char* ALLOWED = "GET, HEAD, DELETE";
    if (call.request.method == "DELETE") {
        return withAllow(deleteCertificate(service, call), ALLOWED);
    }
    if (!isReading(call)) {
        throw methodNotAllowed(call.request.method, ALLOWED);
    }
    const BorrowedSession session(service.redis);
    json document = readCertificate(session.get(), call.uri);
    if (document.is_null()) { // gone meanwhile
        throw notFound(call.uri);
    }
    return withAllow({.document = std::move(document)}, ALLOWED);
}

} // namespace

Answer answerStored(WebService& service, const Call& call) {
    switch (kindOf(service, call.uri)) {
    case Kind::COLLECTION:
        return answerCollection(service, call);
    case Kind::MEMBERS:
        return answerMembers(service, call);
    case Kind::CERTIFICATE:
        return answerCertificate(service, call);
    case Kind::REMAINS:
        if (call.request.method == "DELETE") {
            return deleteCertificate(service, call);
        }
        break;
    case Kind::NOTHING:
        break;
    }
    throw notFound(call.uri);
}
