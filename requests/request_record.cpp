#include "requests/request_record.h"

#include "core/redis_connection.h"
#include "core/secret.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

bool readRequestBody(redisContext* context, const std::string& requestDataKey,
                     nlohmann::json& body) {
    const int result = getResource(context, requestDataKey, body);
    // At once: the library gives a large buffer back, as it is, when the next reply comes.
    wipeConnectionBuffers(context);
    return result == STORE_OK;
}

std::string stringMember(nlohmann::json& record, const std::string& name) {
    return record[name].get<std::string>();
}

std::string takeSecretMember(nlohmann::json& body, const std::string& name) {
    std::string text = stringMember(body, name);
    wipeText(body[name].get_ref<std::string&>());
    return text;
}
