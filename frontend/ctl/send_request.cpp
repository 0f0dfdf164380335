#include "frontend/ctl/send_request.h"

#include "frontend/ctl/output.h"

#include <nlohmann/json.hpp>

AcceptedAnswer sendRequest(redisContext* session, RequestHead head, nlohmann::json body,
                           const CommonOptions& common) {
    head.timeout = timeoutOr(common, DEFAULT_TIMEOUT);
    const Clock::time_point start = Clock::now();
    ServiceRequest request(session, std::move(head), std::move(body));
    ServiceAnswer answer = takeAnswer(request);
    return {std::move(answer), secondsSince(start)};
}

ServiceAnswer takeAnswer(ServiceRequest& request, const TaskObserver& observer) {
    ServiceAnswer answer = request.awaitAnswer(observer);
    if (!request.removeRecords()) {
        printNote("certificatectl: the request's records stay behind: Redis is gone.");
    }
    checkAccepted(answer);
    return answer;
}

void checkAccepted(const ServiceAnswer& answer) {
    if (!isAccepted(answer)) {
        throw ServiceRefusal(answer);
    }
}

double timeoutOr(const CommonOptions& common, double defaultSeconds) {
    return common.timeout > 0 ? common.timeout : defaultSeconds;
}
