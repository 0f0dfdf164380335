#include "frontend/records/event_script.h"

#include "core/protocol/shared_records.h"
#include "frontend/exchange/redis_session.h"

#include <nlohmann/json.hpp>

namespace {

std::string eventScript() {
    return std::string("local channel = '") + RESOURCE_EVENT_CHANNEL + R"('
if #KEYS == 0 or #KEYS % 5 ~= 0 then
    return {'-1', 'resource events come in groups of five keys'}
end
for first = 1, #KEYS, 5 do
    redis.call('PUBLISH', channel, string.format(
        '{"Operation":%s,"URI":%s,"Type":%s,"EventGroupId":%s}',
        cjson.encode(KEYS[first]), cjson.encode(KEYS[first + 1]),
        cjson.encode(KEYS[first + 2]), cjson.encode(KEYS[first + 4])))
end
return #KEYS / 5
)";
}

bool isLoaded(redisContext* context, const std::string& digest) {
    if (digest.empty()) {
        return false;
    }
    const RedisReply reply = runCommand(context, {"SCRIPT", "EXISTS", digest});
    return reply->type == REDIS_REPLY_ARRAY && reply->elements == 1 &&
           reply->element[0]->integer == 1;
}

std::string textMember(const nlohmann::json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

} // namespace

bool loadEventScript(redisContext* context) {
    const std::string noted =
        runTextCommand(context, {"HGET", SCRIPT_DIGESTS_KEY, RESOURCE_CHANGE_FIELD});
    if (isLoaded(context, noted)) {
        return false;
    }
    const std::string digest = runTextCommand(context, {"SCRIPT", "LOAD", eventScript()});
    (void)runCommand(context, {"HSET", SCRIPT_DIGESTS_KEY, RESOURCE_CHANGE_FIELD, digest});
    return true;
}

std::optional<ResourceEvent> parseEvent(const std::string& text) {
    const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    if (!document.is_object()) {
        return std::nullopt;
    }
    ResourceEvent event;
    event.operation = textMember(document, "Operation");
    event.uri = textMember(document, "URI");
    event.type = textMember(document, "Type");
    event.groupId = textMember(document, "EventGroupId");
    return event.operation.empty() || event.uri.empty() ? std::nullopt : std::optional(event);
}
