// Installs a certificate in a collection.

#include "core/protocol/channels.h"
#include "core/protocol/redfish_names.h"
#include "core/secret.h"
#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/service_request.h"
#include "frontend/exchange/stored_tree.h"

#include <nlohmann/json.hpp>

namespace {

constexpr double DEFAULT_TIMEOUT = 30.0;

void wipeMember(nlohmann::json& body, const std::string& name) {
    wipeText(body[name].get_ref<std::string&>());
}

void printCreated(const ServiceAnswer& answer, const nlohmann::json& resource, double seconds,
                  bool json) {
    if (json) {
        printJson({{"status", answer.status},
                   {"location", answer.location},
                   {"seconds", seconds},
                   {"resource", resource}});
        return;
    }
    printLine("Created " + answer.location + "  (" + durationText(seconds) + ")", Colour::GOOD);
    printCertificate(resource);
}

} // namespace

int runCreate(const CommonOptions& common, const CreateOptions& options) {
    std::string text = readCertificateFile(options.file);
    nlohmann::json body = {
        {CERTIFICATE_STRING, text},
        {CERTIFICATE_TYPE, options.type.empty() ? guessCertificateType(text) : options.type}};
    wipeText(text);
    ServiceRequest request;
    request.channel = CREATE_CHANNEL;
    request.targetUri = options.collectionUri;
    request.timeout = common.timeout > 0 ? common.timeout : DEFAULT_TIMEOUT;
    const Clock::time_point start = Clock::now();
    RequestExchange exchange(request, body);
    wipeMember(body, CERTIFICATE_STRING); // it may hold a private key
    const ServiceAnswer answer = exchange.awaitAnswer();
    if (!isAccepted(answer)) {
        return reportRefusal(answer, common.json);
    }
    const double seconds = secondsSince(start);
    printCreated(answer, clientView(readDocument(exchange.session(), answer.location)), seconds,
                 common.json);
    return EXIT_OK;
}
