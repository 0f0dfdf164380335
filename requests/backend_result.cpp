#include "requests/backend_result.h"

#include "core/protocol/message_ids.h"
#include "core/protocol/status_words.h"

namespace {

constexpr std::int32_t SUCCESS = 200;
constexpr std::int32_t BAD_REQUEST = 400;

} // namespace

bool isBackendSuccess(std::int32_t code) {
    return code == SUCCESS;
}

Answer backendFailure(std::int32_t code, const MessageInfo& message) {
    const bool isBadRequest = code == BAD_REQUEST;
    Answer answer = {isBadRequest ? STATUS_FAILURE : STATUS_EXCEPTION, nlohmann::json::object(),
                     message};
    if (message.MessageId.empty()) {
        answer.message.MessageId = isBadRequest ? MSG_BAD_REQUEST : MSG_DATABASE_OPERATION_ERROR;
    }
    return answer;
}

void writeErrorReturnStatus(redisContext* context, const std::string& statusKey, std::int32_t code,
                            const MessageInfo& info) {
    (void)writeAnswer({context, statusKey, ""}, backendFailure(code, info));
}
