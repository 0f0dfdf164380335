#include "frontend/web/service/certificate_watch.h"

#include "core/protocol/redfish_names.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/records/certificate_records.h"
#include "platform/x509/dates.h"

#include <functional>

namespace {

struct StoredCertificate {
    std::string text;
    std::optional<std::time_t> end;
};

StoredCertificate readCertificate(redisContext* context, const std::string& uri) {
    const auto texts = runListCommand(context, {"HMGET", uri, CERTIFICATE_STRING, VALID_NOT_AFTER});
    if (texts.size() != 2) {
        return {};
    }
    return {texts[0], isoMoment(storedString(texts[1]))};
}

EventFacts factsOf(const std::string& uri, const RedfishMessage& message, CertificateState state) {
    return {.type = "StatusChange",
            .messageId = message.id,
            .messageArgs = message.arguments,
            .message = message.text,
            .severity = state == CertificateState::ENDED ? "Critical" : "Warning",
            .origin = uri,
            .groupId = {}};
}

} // namespace

// What has been told of this text under this URI.
CertificateWatch::Known CertificateWatch::recall(const std::string& uri,
                                                 const std::string& text) const {
    const Known afresh = {std::hash<std::string>()(text), CertificateState::GOOD};
    const auto before = known.find(uri);
    const bool isSame = before != known.end() && before->second.textHash == afresh.textHash;
    return isSame ? before->second : afresh;
}

std::vector<EventFacts> CertificateWatch::look(redisContext* context, std::time_t now) {
    std::vector<EventFacts> events;
    std::map<std::string, Known> present;
    for (const std::string& uri : listCertificateRecords(context, {})) {
        const StoredCertificate certificate = readCertificate(context, uri);
        if (!certificate.end) {
            continue;
        }
        Known& entry = present[uri] = recall(uri, certificate.text);
        const CertificateState state = certificateState(*certificate.end, now);
        const auto message = certificateMessage(uri, *certificate.end, state);
        if (message && state > entry.worst) {
            entry.worst = state;
            events.push_back(factsOf(uri, *message, state));
        }
    }
    known = std::move(present);
    return events;
}
