#include "bench/json_text.h"

#include "bench/connection.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace {

constexpr const char* KEY = "a whole document";

BenchReply checked(void* reply, int type) {
    BenchReply taken(static_cast<redisReply*>(reply));
    if (!taken || taken->type != type) {
        throw std::runtime_error("a JSON text is not read or written");
    }
    return taken;
}

} // namespace

Exchange jsonTextContent(const nlohmann::json& document) {
    return makeExchange({{"SET", KEY, document.dump()}});
}

void readJsonText(redisContext* context, nlohmann::json& document) {
    const BenchReply reply = checked(redisCommand(context, "GET %s", KEY), REDIS_REPLY_STRING);
    document = nlohmann::json::parse(std::string_view(reply->str, reply->len));
}

void writeJsonText(redisContext* context, const nlohmann::json& document) {
    const std::string text = document.dump();
    (void)checked(redisCommand(context, "SET %s %b", KEY, text.data(), text.size()),
                  REDIS_REPLY_STATUS);
}

void updateJsonText(redisContext* context, const std::function<void(nlohmann::json&)>& change) {
    nlohmann::json document;
    readJsonText(context, document);
    change(document);
    writeJsonText(context, document);
}
