#include "requests/no_operation.h"

#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/status_words.h"
#include "core/redis_commands.h"

namespace {

// Stored as a JSON string literal whose content is the document, so both double quotes belong to
// it. Front ends compare the text as it stands, its wording included.
constexpr char BODY_START[] = R"("{
                "error": {
                    "@Message.ExtendedInfo": [
                        {
                            "@odata.type": ")";
constexpr char BODY_AFTER_TYPE[] = R"(",
                            "Resolution": "Add properties in the JSON object and resubmit the request.",
                            "MessageSeverity": "Warning",
                            "Message": "The request body submitted contain no data to act upon and no changes to the resource took place.",
                            "MessageId": ")";
constexpr char BODY_AFTER_MESSAGE_ID[] = R"("
                        }
                    ],
                    "code": ")";
constexpr char BODY_END[] = R"(",
                    "message": "The request body submitted contain no data to act upon and no changes to the resource took place."
                }
            }")";

} // namespace

void writeNoOperationResponse(redisContext* context, const std::string& statusKey,
                              const std::string& messageId) {
    const std::string responseKey = responseDataKey(statusKey);
    const std::string body = std::string(BODY_START) + MESSAGE_ODATA_TYPE + BODY_AFTER_TYPE +
                             messageId + BODY_AFTER_MESSAGE_ID + messageId + BODY_END;
    (void)redisHSet(context, statusKey, RETURN_STATUS_FIELD, STATUS_OK_RES);
    (void)redisHSet(context, statusKey, RESPONSE_DATA_FIELD, responseKey);
    (void)redisHSet(context, responseKey, RAW_JSON_FIELD, body);
}
