// Removes a certificate: first the daemon takes it out of use, then its records go.

#include "core/protocol/channels.h"
#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/service_request.h"
#include "frontend/records/certificate_records.h"

#include <nlohmann/json.hpp>

namespace {

constexpr double DEFAULT_TIMEOUT = 30.0;

} // namespace

int runDelete(const CommonOptions& common, const DeleteOptions& options) {
    ServiceRequest request;
    request.channel = DELETE_CHANNEL;
    request.targetUri = options.uri;
    request.timeout = common.timeout > 0 ? common.timeout : DEFAULT_TIMEOUT;
    const Clock::time_point start = Clock::now();
    RequestExchange exchange(request, nullptr);
    const ServiceAnswer answer = exchange.awaitAnswer();
    if (!isAccepted(answer)) {
        return reportRefusal(answer, common.json);
    }
    const double seconds = secondsSince(start);
    removeCertificateRecords(exchange.session(), options.uri);
    if (common.json) {
        printJson({{"status", answer.status}, {"removed", options.uri}, {"seconds", seconds}});
    } else {
        printLine("Removed " + options.uri + "  (" + durationText(seconds) + ")", Colour::GOOD);
    }
    return EXIT_OK;
}
