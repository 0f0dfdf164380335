// Puts another certificate in the place of an installed one.

#include "core/protocol/channels.h"
#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redfish_messages.h"
#include "frontend/exchange/service_request.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/certificate_records.h"

#include <nlohmann/json.hpp>

namespace {

constexpr double DEFAULT_TIMEOUT = 30.0;

void printReplaced(const ServiceAnswer& answer, const nlohmann::json& resource, double seconds) {
    if (isNoOperation(answer)) {
        printLine("Unchanged " + answer.location + "  (" + durationText(seconds) + ")");
        printField("message", answer.messageId);
        printField("", describeMessage(answer.messageId, answer.messageArgs));
        return;
    }
    printLine("Replaced " + answer.location + "  (" + durationText(seconds) + ")", Colour::GOOD);
    printCertificate(resource);
}

} // namespace

int runReplace(const CommonOptions& common, const ReplaceOptions& options) {
    std::string text = readCertificateFile(options.file);
    const std::string type = options.type.empty() ? guessCertificateType(text) : options.type;
    nlohmann::json body = {{CERTIFICATE_URI, {{ODATA_ID, options.uri}}},
                           {CERTIFICATE_STRING, text},
                           {CERTIFICATE_TYPE, type}};
    ServiceRequest request;
    request.channel = ACTION_CHANNEL;
    request.targetUri = REPLACE_CERTIFICATE_ACTION_URI;
    request.timeout = common.timeout > 0 ? common.timeout : DEFAULT_TIMEOUT;
    const Clock::time_point start = Clock::now();
    RequestExchange exchange(request, body);
    wipeText(body[CERTIFICATE_STRING].get_ref<std::string&>());
    const ServiceAnswer answer = exchange.awaitAnswer();
    if (!isAccepted(answer)) {
        wipeText(text);
        return reportRefusal(answer, common.json);
    }
    const double seconds = secondsSince(start);
    const bool changed = !isNoOperation(answer);
    if (changed && !refreshCertificateRecords(exchange.session(), options.uri, text, type)) {
        printNote("The resource keeps the properties of the old certificate: the new text cannot "
                  "be read here.");
    }
    wipeText(text);
    const nlohmann::json resource = clientView(readDocument(exchange.session(), options.uri));
    if (common.json) {
        printJson({{"status", answer.status},
                   {"location", answer.location},
                   {"messageId", answer.messageId},
                   {"changed", changed},
                   {"seconds", seconds},
                   {"resource", resource}});
    } else {
        printReplaced(answer, resource, seconds);
    }
    return EXIT_OK;
}
