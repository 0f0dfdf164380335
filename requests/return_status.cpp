#include "requests/return_status.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/shared_records.h"
#include "core/redis_commands.h"
#include "store/resource_store.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>

namespace {

constexpr int DEFAULT_LIFETIME = 6; // seconds
constexpr std::int64_t MILLISECONDS_PER_SECOND = 1000;

// The number at the front of the text; nothing when there is none, or none that is a time.
std::optional<std::int64_t> parseMilliseconds(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const std::int64_t milliseconds = std::strtoll(text.c_str(), &end, 10);
    if (end == text.c_str() || errno == ERANGE || milliseconds < 0) {
        return std::nullopt;
    }
    return milliseconds;
}

// Seconds that the extended information lives: a little longer than the front end waits.
int readLifetime(redisContext* context) {
    const auto milliseconds =
        parseMilliseconds(redisHGet(context, WEB_DEFAULT_VALUE, REDIS_CONNECTION_DEFAULT_TIMEOUT));
    if (!milliseconds) {
        return DEFAULT_LIFETIME;
    }
    constexpr std::int64_t LONGEST = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(*milliseconds / MILLISECONDS_PER_SECOND + 1, LONGEST));
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

    bool writeList(const std::string& key, const std::vector<std::string>& texts,
                   const char* failure) const {
        return texts.empty() || write(key, texts, failure);
    }
};

nlohmann::json messageElement(const ExtendedInfoKeys& keys, const MessageInfo& message) {
    nlohmann::json element = nlohmann::json::object();
    if (!message.MessageId.empty()) {
        element[MESSAGE_ID_FIELD] = message.MessageId;
        // Named even when there are no arguments, and no such key then.
        element[MESSAGE_ARGS_FIELD] = keys.arguments;
        if (!message.RelatedProperties.empty()) {
            element[RELATED_PROPERTIES_FIELD] = keys.related;
        }
    }
    return element;
}

bool writeExtendedInfo(const ExtendedInfoWriter& writer, const ExtendedInfoKeys& keys,
                       const MessageInfo& message) {
    return writer.write(keys.element, messageElement(keys, message),
                        "writeReturnStatus write ExtendedInfo element failed.") &&
           writer.writeList(
               keys.arguments, message.MessageArgs,
               "writeReturnStatus write MessageArgs of ExtendedInfo element failed.") &&
           writer.writeList(
               keys.related, message.RelatedProperties,
               "writeReturnStatus write RelatedProperties of ExtendedInfo element failed.") &&
           writer.write(keys.info, nlohmann::json::array({keys.element}),
                        "writeReturnStatus write ExtendedInfo failed.");
}

} // namespace

bool writeAnswer(const AnswerPlace& place, const Answer& answer) {
    const ExtendedInfoKeys keys = extendedInfoKeys(place.statusKey);
    // Read before the record is written, and even for an answer that does not expire.
    const int lifetime = readLifetime(place.context);
    nlohmann::json record = answer.data;
    record[RETURN_STATUS_FIELD] = answer.status;
    if (!answer.message.MessageId.empty()) {
        record[EXTENDED_INFO_FIELD] = keys.info;
    }
    if (writeResource(place.context, place.statusKey, record) != STORE_OK) {
        gLogger->error("writeReturnStatus write return status key failed.");
        return false;
    }
    return writeExtendedInfo({place.context, answer.expires, lifetime}, keys, answer.message);
}

bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs,
                       const std::vector<std::string>& relatedProperties, bool setExpiry) {
    return writeAnswer(
        {context, statusKey, ""},
        {status, std::move(data), {messageId, messageArgs, relatedProperties}, setExpiry});
}

bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs, bool setExpiry) {
    return writeReturnStatus(context, statusKey, std::move(data), status, messageId, messageArgs,
                             {}, setExpiry);
}

void publishReply(const AnswerPlace& place) {
    // When nobody waits any more there is nobody left to tell.
    (void)redisPublish(place.context, place.returnChannel, place.statusKey);
}
