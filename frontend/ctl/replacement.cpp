#include "frontend/ctl/replacement.h"

#include "core/protocol/channels.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "frontend/ctl/certificate_words.h"
#include "frontend/ctl/collection_hint.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/exchange/redfish_messages.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/certificate_records.h"

#include <nlohmann/json.hpp>

namespace {

// The new text is needed once more after the request, and wiped whatever comes of it.
struct WipedCertificate : CertificateText {
    explicit WipedCertificate(CertificateText certificate)
        : CertificateText(std::move(certificate)) {}
    WipedCertificate(const WipedCertificate&) = delete;
    WipedCertificate& operator=(const WipedCertificate&) = delete;
    ~WipedCertificate() {
        wipeText(text);
    }
};

// True when the service took the new certificate, false when it was there already.
bool takeOver(redisContext* session, const std::string& uri, const CertificateText& certificate,
              const ServiceAnswer& answer) {
    if (isNoOperation(answer)) {
        return false;
    }
    if (!refreshCertificateRecords(session, uri, certificate.text, certificate.type)) {
        printNote("The resource keeps the properties of the old certificate: the new text cannot "
                  "be read here.");
    }
    return true;
}

void printUnchanged(const AcceptedAnswer& replaced) {
    const ServiceAnswer& answer = replaced.answer;
    printLine("Unchanged " + answer.location + "  (" + durationText(replaced.seconds) + ")");
    printField("message", answer.messageId);
    printField("", describeMessage(answer.messageId, answer.messageArgs));
}

void printReplaced(const AcceptedAnswer& replaced, const nlohmann::json& resource) {
    printLine("Replaced " + replaced.answer.location + "  (" + durationText(replaced.seconds) + ")",
              Colour::GOOD);
    printCertificate(resource);
}

} // namespace

void replaceAndShow(const CommonOptions& common, const std::string& uri,
                    CertificateText certificateText) {
    const WipedCertificate certificate(std::move(certificateText));
    nlohmann::json body = {{CERTIFICATE_URI, {{ODATA_ID, uri}}},
                           {CERTIFICATE_STRING, certificate.text},
                           {CERTIFICATE_TYPE, certificate.type}};
    const RedisConnection session = openRedisSession();
    const AcceptedAnswer replaced = withCollectionHint(session.get(), parentUri(uri), [&] {
        return sendRequest(session.get(), {ACTION_CHANNEL, REPLACE_CERTIFICATE_ACTION_URI, "", 0},
                           std::move(body), common);
    });
    const bool changed = takeOver(session.get(), uri, certificate, replaced.answer);
    const nlohmann::json resource = clientView(readDocument(session.get(), uri));
    if (common.json) {
        printJson({{"status", replaced.answer.status},
                   {"location", replaced.answer.location},
                   {"messageId", replaced.answer.messageId},
                   {"changed", changed},
                   {"seconds", replaced.seconds},
                   {"resource", resource}});
    } else if (changed) {
        printReplaced(replaced, resource);
    } else {
        printUnchanged(replaced);
    }
}
