#include "requests/refusal.h"

#include "core/logger.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/status_words.h"

namespace {

constexpr const char* SECONDS_TO_WAIT = "1";

} // namespace

Answer failureAnswer(const std::string& messageId, const std::vector<std::string>& messageArgs) {
    return {STATUS_FAILURE, nlohmann::json::object(), {messageId, messageArgs, {}}};
}

Answer defaultAnswer() {
    return {STATUS_EXCEPTION, nlohmann::json::object(), {MSG_DATABASE_OPERATION_ERROR, {}, {}}};
}

Answer busyAnswer() {
    return {STATUS_EXCEPTION,
            nlohmann::json::object(),
            {MSG_SERVICE_TEMPORARILY_UNAVAILABLE, {SECONDS_TO_WAIT}, {}}};
}

bool refuseRequest(const AnswerPlace& place, const std::string& reason, const Answer& answer) {
    gLogger->error("%s", reason.c_str());
    (void)writeAnswer(place, answer);
    return false;
}
