#include "frontend/exchange/service_answer.h"

#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/status_words.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/exchange/stored_tree.h"

#include <nlohmann/json.hpp>

#include <map>

namespace {

using Fields = std::map<std::string, std::string>;

Fields readFields(redisContext* context, const std::string& key) {
    const std::vector<std::string> texts = runListCommand(context, {"HGETALL", key});
    Fields fields;
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
        fields[texts[i]] = texts[i + 1];
    }
    return fields;
}

std::string fieldOf(const Fields& fields, const std::string& name) {
    const auto found = fields.find(name);
    return found == fields.end() ? std::string() : found->second;
}

std::vector<std::string> readStrings(redisContext* context, const std::string& key) {
    std::vector<std::string> strings;
    if (!key.empty()) {
        for (const std::string& entry : runListCommand(context, {"LRANGE", key, "0", "-1"})) {
            strings.push_back(storedString(entry));
        }
    }
    return strings;
}

// The extended information is a list of one text: the key of the message.
void readMessage(redisContext* context, const std::string& extendedInfoKey, ServiceAnswer& answer) {
    const std::vector<std::string> elements = readStrings(context, extendedInfoKey);
    if (elements.empty()) {
        return;
    }
    const Fields message = readFields(context, elements.front());
    answer.messageId = fieldOf(message, MESSAGE_ID_FIELD);
    answer.messageArgs = readStrings(context, fieldOf(message, MESSAGE_ARGS_FIELD));
    answer.relatedProperties = readStrings(context, fieldOf(message, RELATED_PROPERTIES_FIELD));
}

// A ready JSON document is kept as one text in quotes, its own quotes as they are.
std::string unquoted(const std::string& text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

void readResponse(redisContext* context, const std::string& responseKey, ServiceAnswer& answer) {
    const nlohmann::json stored = readDocument(context, responseKey);
    if (!stored.is_object()) {
        return;
    }
    if (!stored.contains(RAW_JSON_FIELD)) {
        answer.response = stored.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        return;
    }
    answer.response = unquoted(stored[RAW_JSON_FIELD].get<std::string>());
    const nlohmann::json document = nlohmann::json::parse(answer.response, nullptr, false);
    const nlohmann::json::json_pointer code("/error/code");
    if (document.is_object() && document.contains(code) && document[code].is_string()) {
        answer.messageId = document[code].get<std::string>();
    }
}

} // namespace

std::optional<ServiceAnswer> readAnswer(redisContext* context, const std::string& statusKey) {
    const Fields record = readFields(context, statusKey);
    ServiceAnswer answer;
    answer.status = fieldOf(record, RETURN_STATUS_FIELD);
    if (answer.status.empty()) {
        return std::nullopt;
    }
    answer.location = fieldOf(record, LOCATION_FIELD);
    const std::string extendedInfoKey = fieldOf(record, EXTENDED_INFO_FIELD);
    if (!extendedInfoKey.empty()) {
        readMessage(context, extendedInfoKey, answer);
        answer.isWhole = !answer.messageId.empty();
    }
    const std::string responseKey = fieldOf(record, RESPONSE_DATA_FIELD);
    if (!responseKey.empty()) {
        readResponse(context, responseKey, answer);
        answer.isWhole = answer.isWhole && !answer.response.empty();
    }
    return answer;
}

void removeAnswer(redisContext* context, const std::string& statusKey) {
    const ExtendedInfoKeys keys = extendedInfoKeys(statusKey);
    removeStoredTree(context, responseDataKey(statusKey));
    (void)runCommand(context,
                     {"DEL", statusKey, keys.info, keys.element, keys.arguments, keys.related});
}

bool isAccepted(const ServiceAnswer& answer) {
    return answer.status == STATUS_OK || answer.status == STATUS_OK_RES ||
           answer.status == STATUS_OK_EMPTY || answer.status == STATUS_PROCESSING;
}

bool isNoOperation(const ServiceAnswer& answer) {
    return answer.messageId.ends_with(".NoOperation");
}

std::string signingRequestOf(const ServiceAnswer& answer) {
    const nlohmann::json response = nlohmann::json::parse(answer.response, nullptr, false);
    const bool isThere =
        response.is_object() && response.contains(CSR_STRING) && response[CSR_STRING].is_string();
    return isThere ? response[CSR_STRING].get<std::string>() : std::string();
}
