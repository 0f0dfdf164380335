// Sends an action of any name to the daemon, with a body of one's own.

#include "core/protocol/channels.h"
#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/service_request.h"

#include <nlohmann/json.hpp>

namespace {

constexpr double DEFAULT_TIMEOUT = 30.0;

nlohmann::json readBody(const std::string& file) {
    if (file.empty()) {
        return nlohmann::json::object();
    }
    nlohmann::json body = nlohmann::json::parse(readTextFile(file), nullptr, false);
    if (!body.is_object()) {
        throw FrontEndError(EXIT_LOCAL_FILE, file + ": is not a JSON object.");
    }
    return body;
}

} // namespace

int runAction(const CommonOptions& common, const ActionOptions& options) {
    ServiceRequest request;
    request.channel = ACTION_CHANNEL;
    request.targetUri = options.targetUri;
    request.timeout = common.timeout > 0 ? common.timeout : DEFAULT_TIMEOUT;
    RequestExchange exchange(request, readBody(options.bodyFile));
    const ServiceAnswer answer = exchange.awaitAnswer();
    if (!isAccepted(answer)) {
        return reportRefusal(answer, common.json);
    }
    const nlohmann::json response = nlohmann::json::parse(answer.response, nullptr, false);
    printJson({{"status", answer.status},
               {"location", answer.location},
               {"messageId", answer.messageId},
               {"response", response.is_discarded() ? nlohmann::json(nullptr) : response}});
    return EXIT_OK;
}
