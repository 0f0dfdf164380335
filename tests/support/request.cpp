// Playing the front end with plain Redis commands.

#include "tests/support/request.h"

#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait.h"

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace {

using nlohmann::json;

const std::string SERVICE_PREFIX = "&&/redfish/v1/CertificateService/";

bool isMarked(const std::string& text) {
    return text.compare(0, 2, "&&") == 0;
}

bool isReference(const json& value) {
    return value.is_object() && value.size() == 1 && value.contains("@odata.id") &&
           value["@odata.id"].is_string();
}

void storeValue(RedisClient& client, const std::string& key, const json& value);

// The marker for a structured value, which is stored under nestedKey unless it is a reference.
// middle is the member name with a blank behind it, or empty for an array's element.
std::string storeNested(RedisClient& client, const std::string& middle, std::string nestedKey,
                        const json& value) { // NOLINT(misc-no-recursion)
    if (isReference(value)) {
        return "&&ObjectRef " + middle + value["@odata.id"].get<std::string>();
    }
    if (!isMarked(nestedKey)) {
        nestedKey.insert(0, "&&");
    }
    storeValue(client, nestedKey, value);
    return (value.is_array() ? "&&Array " : "&&Object ") + middle + nestedKey;
}

void storeMember(RedisClient& client, const std::string& key, const std::string& name,
                 const json& value) { // NOLINT(misc-no-recursion)
    if (value.is_structured()) {
        client.command("HSET", key, storeNested(client, name + " ", key + "/" + name, value), "");
    } else if (isMarked(name)) {
        client.command("HSET", key, name, value.get<std::string>());
    } else {
        client.command("HSET", key, name, value.dump());
    }
}

void storeElement(RedisClient& client, const std::string& key,
                  const json& value) { // NOLINT(misc-no-recursion)
    if (!value.is_structured()) {
        client.command("RPUSH", key, value.dump());
        return;
    }
    std::string elementKey = key;
    if (!isReference(value)) {
        const auto number = client.command("INCR", "Array-Member-Sequence-ID").integer;
        elementKey += "/" + std::to_string(number);
    }
    client.command("RPUSH", key, storeNested(client, "", elementKey, value));
}

// Recursion ends with the nesting of the test's own document.
void storeValue(RedisClient& client, const std::string& key,
                const json& value) { // NOLINT(misc-no-recursion)
    if (value.is_array()) {
        for (const auto& element : value) {
            storeElement(client, key, element);
        }
        return;
    }
    for (const auto& [name, member] : value.items()) {
        storeMember(client, key, name, member);
    }
}

void removeWithNested(RedisClient& client, const std::string& key) {
    for (const auto& present : client.keys()) {
        if (present == key || present.compare(0, key.size() + 3, "&&" + key + "/") == 0) {
            client.command("DEL", present);
        }
    }
}

// The strings of a list that holds JSON texts.
std::vector<std::string> storedStrings(RedisClient& client, const std::string& key) {
    std::vector<std::string> result;
    for (const auto& entry : client.list(key)) {
        result.push_back(json::parse(entry).get<std::string>());
    }
    return result;
}

std::string fieldOf(const std::map<std::string, std::string>& fields, const std::string& name) {
    const auto found = fields.find(name);
    return found == fields.end() ? std::string() : found->second;
}

void readMessage(RedisClient& client, const std::string& extendedInfoKey, FrontEndAnswer& answer) {
    const auto elements = storedStrings(client, extendedInfoKey);
    if (elements.size() != 1) {
        throw std::runtime_error("not exactly one message at " + extendedInfoKey);
    }
    const auto message = client.hash(elements.front());
    answer.messageId = fieldOf(message, "&&MessageId");
    answer.messageArgs = storedStrings(client, fieldOf(message, "&&MessageArgs"));
    answer.relatedProperties = storedStrings(client, fieldOf(message, "&&RelatedProperties"));
}

} // namespace

std::string channelName(RequestKind kind) {
    switch (kind) {
    case RequestKind::CREATE:
        return SERVICE_PREFIX + "CreateNewCertificate";
    case RequestKind::REMOVE:
        return SERVICE_PREFIX + "DeleteCertificate";
    case RequestKind::ACTION:
        break;
    }
    return SERVICE_PREFIX + "ACTION_CHANNEL";
}

void storeResource(RedisClient& client, const std::string& key, const std::string& json) {
    removeWithNested(client, key);
    storeValue(client, key, json::parse(json));
}

void storeCertificateCollection(RedisClient& client, const std::string& uri,
                                const std::vector<std::string>& certificateTypes) {
    const json collection = {
        {"@odata.id", uri},
        {"@odata.type", "#CertificateCollection.CertificateCollection"},
        {"Name", "Certificate Collection"},
        {"Members", json::array()},
        {"Members@odata.count", 0},
        {"@Redfish.SupportedCertificates", certificateTypes},
    };
    storeResource(client, uri, collection.dump());
}

void storeRequest(RedisClient& client, const FrontEndRequest& request) {
    client.command("DEL", request.requestKey);
    client.command("HSET", request.requestKey, "&&ReturnChannel", request.returnChannel,
                   "&&RequestData", request.bodyKey, "&&TargetURI", request.targetUri);
    for (const auto& [name, value] : request.fields) {
        client.command("HSET", request.requestKey, name, value);
    }
    if (!request.body.empty()) {
        storeResource(client, request.bodyKey, request.body);
    }
}

std::string requestMessage(const FrontEndRequest& request) {
    return request.requestKey + " " + request.statusKey;
}

FrontEndAnswer readStatus(RedisClient& client, const std::string& statusKey) {
    FrontEndAnswer answer;
    answer.status = client.hash(statusKey);
    const std::string extendedInfoKey = fieldOf(answer.status, "&&ExtendedInfo");
    if (!extendedInfoKey.empty()) {
        readMessage(client, extendedInfoKey, answer);
    }
    return answer;
}

FrontEndAnswer sendRequest(const RedisServer& server, const FrontEndRequest& request,
                           double seconds) {
    RedisClient client(server);
    storeRequest(client, request);
    return sendStoredRequest(server, request, seconds);
}

FrontEndAnswer sendStoredRequest(const RedisServer& server, const FrontEndRequest& request,
                                 double seconds) {
    RedisClient client(server);
    RedisClient subscriber(server);
    subscriber.command("SUBSCRIBE", request.returnChannel);
    if (client.command("PUBLISH", channelName(request.kind), requestMessage(request)).integer < 1) {
        throw std::runtime_error("nobody listens on " + channelName(request.kind));
    }
    RedisAnswer message;
    const bool replied = subscriber.nextMessage(message, seconds);
    FrontEndAnswer answer = readStatus(client, request.statusKey);
    if (replied) {
        answer.reply = message.texts().back();
    }
    return answer;
}
