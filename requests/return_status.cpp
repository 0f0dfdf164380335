#include "requests/return_status.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/shared_records.h"
#include "core/protocol/status_words.h"
#include "core/redis_commands.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

constexpr int DEFAULT_LIFETIME = 6; // seconds
constexpr std::int64_t MILLISECONDS_PER_SECOND = 1000;
constexpr std::int32_t BAD_REQUEST = 400;
constexpr const char* SECONDS_TO_WAIT = "1";

// Seconds that the extended information lives: a little longer than the front end waits.
int readLifetime(redisContext* context) {
    const std::string text =
        redisHGet(context, WEB_DEFAULT_VALUE, REDIS_CONNECTION_DEFAULT_TIMEOUT);
    std::int64_t milliseconds = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), milliseconds);
    if (parsed.ec != std::errc() || milliseconds < 0) {
        return DEFAULT_LIFETIME;
    }
    constexpr std::int64_t LONGEST = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(milliseconds / MILLISECONDS_PER_SECOND + 1, LONGEST));
}

// Writes the keys of one answer's extended information.
struct ExtendedInfoWriter {
    redisContext* context;
    bool setExpiry; // otherwise the keys stay
    int lifetime;   // seconds

    bool write(const std::string& key, const nlohmann::json& value, const char* failure) const {
        if (writeResource(context, key, value) != STORE_OK) {
            gLogger->error("%s", failure);
            return false;
        }
        if (setExpiry) {
            (void)redisExpire(context, key, lifetime);
        }
        return true;
    }
};

nlohmann::json messageElement(const ExtendedInfoKeys& keys, const std::string& messageId,
                              bool hasRelated) {
    nlohmann::json element = nlohmann::json::object();
    if (!messageId.empty()) {
        element[MESSAGE_ID_FIELD] = messageId;
        element[MESSAGE_ARGS_FIELD] = keys.arguments;
        if (hasRelated) {
            element[RELATED_PROPERTIES_FIELD] = keys.related;
        }
    }
    return element;
}

bool writeExtendedInfo(const ExtendedInfoWriter& writer, const ExtendedInfoKeys& keys,
                       const std::string& messageId, const std::vector<std::string>& messageArgs,
                       const std::vector<std::string>& relatedProperties) {
    return writer.write(keys.element, messageElement(keys, messageId, !relatedProperties.empty()),
                        "writeReturnStatus write ExtendedInfo element failed.") &&
           (messageArgs.empty() ||
            writer.write(keys.arguments, messageArgs,
                         "writeReturnStatus write MessageArgs of ExtendedInfo element failed.")) &&
           (relatedProperties.empty() ||
            writer.write(
                keys.related, relatedProperties,
                "writeReturnStatus write RelatedProperties of ExtendedInfo element failed.")) &&
           writer.write(keys.info, nlohmann::json::array({keys.element}),
                        "writeReturnStatus write ExtendedInfo failed.");
}

} // namespace

bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs,
                       const std::vector<std::string>& relatedProperties, bool setExpiry) {
    const ExtendedInfoKeys keys = extendedInfoKeys(statusKey);
    const int lifetime = readLifetime(context);
    data[RETURN_STATUS_FIELD] = status;
    if (!messageId.empty()) {
        data[EXTENDED_INFO_FIELD] = keys.info;
    }
    if (writeResource(context, statusKey, data) != STORE_OK) {
        gLogger->error("writeReturnStatus write return status key failed.");
        return false;
    }
    const ExtendedInfoWriter writer = {context, setExpiry, lifetime};
    return writeExtendedInfo(writer, keys, messageId, messageArgs, relatedProperties);
}

bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs, bool setExpiry) {
    return writeReturnStatus(context, statusKey, std::move(data), status, messageId, messageArgs,
                             {}, setExpiry);
}

void writeDefaultReturnStatus(redisContext* context, const std::string& statusKey) {
    (void)writeReturnStatus(context, statusKey, nlohmann::json::object(), STATUS_EXCEPTION,
                            MSG_DATABASE_OPERATION_ERROR, {}, true);
}

int refuseRequest(redisContext* context, const std::string& statusKey, const char* reason) {
    gLogger->error("%s", reason);
    writeDefaultReturnStatus(context, statusKey);
    return 0;
}

void writeBusyReturnStatus(redisContext* context, const std::string& statusKey) {
    (void)writeReturnStatus(context, statusKey, nlohmann::json::object(), STATUS_EXCEPTION,
                            MSG_SERVICE_TEMPORARILY_UNAVAILABLE, {SECONDS_TO_WAIT}, true);
}

void writeErrorReturnStatus(redisContext* context, const std::string& statusKey, std::int32_t code,
                            const MessageInfo& info) {
    (void)writeReturnStatus(context, statusKey, nlohmann::json::object(), errorStatus(code),
                            errorMessageId(code, info), info.MessageArgs, info.RelatedProperties,
                            true);
}

const char* errorStatus(std::int32_t code) {
    return code == BAD_REQUEST ? STATUS_FAILURE : STATUS_EXCEPTION;
}

std::string errorMessageId(std::int32_t code, const MessageInfo& info) {
    if (!info.MessageId.empty()) {
        return info.MessageId;
    }
    return code == BAD_REQUEST ? MSG_BAD_REQUEST : MSG_DATABASE_OPERATION_ERROR;
}

void publishReply(redisContext* context, const std::string& returnChannel,
                  const std::string& statusKey) {
    // When nobody waits any more there is nobody left to tell.
    (void)redisPublish(context, returnChannel, statusKey);
}
