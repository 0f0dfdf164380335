#include "frontend/web/service/daemon_request.h"

#include "core/protocol/message_ids.h"
#include "core/protocol/status_words.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

struct MessageStatus {
    std::string_view message; // a registry's message, without the version
    int status;
};

constexpr std::array<MessageStatus, 3> MESSAGE_STATUSES = {{
    {"ServiceTemporarilyUnavailable", 503},
    {"ResourceAlreadyExists", 409},
    {"ResourceInUse", 409},
}};

int statusOf(const ServiceAnswer& answer) {
    const std::string_view name =
        std::string_view(answer.messageId).substr(answer.messageId.rfind('.') + 1);
    for (const MessageStatus& each : MESSAGE_STATUSES) {
        if (each.message == name) {
            return each.status;
        }
    }
    return answer.status == STATUS_FAILURE ? 400 : 500;
}

bool isNumber(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(),
                                        [](char each) { return each >= '0' && each <= '9'; });
}

// The seconds to wait are the message's one argument.
std::string secondsToWait(const ServiceAnswer& answer) {
    const bool isGiven = !answer.messageArgs.empty() && isNumber(answer.messageArgs.front());
    return isGiven ? answer.messageArgs.front() : "1";
}

} // namespace

ServiceAnswer askDaemon(redisContext* session, RequestHead head, nlohmann::json body) {
    head.timeout = DAEMON_TIMEOUT;
    ServiceRequest request(session, std::move(head), std::move(body));
    return request.awaitAnswer();
}

void checkAccepted(const ServiceAnswer& answer) {
    if (!isAccepted(answer)) {
        throw refusalOf(answer);
    }
}

Refusal refusalOf(const ServiceAnswer& answer) {
    const int status = statusOf(answer);
    const std::string id = answer.messageId.empty() ? MSG_INTERNAL_ERROR : answer.messageId;
    Refusal refusal(status, RedfishMessage{id, answer.messageArgs, answer.relatedProperties, {}});
    if (status == 503) {
        refusal.headers.emplace_back("Retry-After", secondsToWait(answer));
    }
    return refusal;
}
