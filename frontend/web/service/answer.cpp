#include "frontend/web/service/answer.h"

#include "frontend/exchange/redfish_messages.h"

#include <array>
#include <string_view>

namespace {

using nlohmann::json;

// What a registry says of a message beside its sentence.
struct MessageCare {
    std::string_view name; // without the registry and its version
    std::string_view severity;
    std::string_view resolution;
};

constexpr std::array<MessageCare, 6> MESSAGE_CARES = {{
    {"Success", "OK", "Nothing need be done."},
    {"Created", "OK", "Nothing need be done."},
    {"NoOperation", "Warning", "Nothing need be done, unless a change was expected."},
    {"ServiceTemporarilyUnavailable", "Critical", "Send the request again a little later."},
    {"ResourceStatusChangedWarning", "Warning", "Replace the certificate before it ends."},
    {"ResourceStatusChangedCritical", "Critical", "Replace the certificate."},
}};

constexpr MessageCare ANY_OTHER = {"", "Critical", "Correct the request and send it again."};
constexpr MessageCare SERVICE_FAULT = {
    "", "Critical", "Send the request again; if that does not help, see the service's log."};

MessageCare careOf(const std::string& id) {
    const std::string_view name = std::string_view(id).substr(id.rfind('.') + 1);
    for (const MessageCare& care : MESSAGE_CARES) {
        if (care.name == name) {
            return care;
        }
    }
    return name == "InternalError" || name == "GeneralError" || name == "DatabaseOperationError"
               ? SERVICE_FAULT
               : ANY_OTHER;
}

std::string sentenceOf(const RedfishMessage& message) {
    return message.text.empty() ? describeMessage(message.id, message.arguments) : message.text;
}

constexpr int RETRY_SECONDS = 5;

} // namespace

Refusal notFound(const std::string& uri) {
    return {404, RedfishMessage{"Base.1.9.ResourceMissingAtURI", {uri}}};
}

Refusal methodNotAllowed(const std::string& method, const std::string& allowed) {
    Refusal refusal(405, RedfishMessage{"Base.1.9.GeneralError",
                                        {},
                                        {},
                                        "The resource does not take the method " + method +
                                            "; it takes " + allowed + "."});
    refusal.headers.emplace_back("Allow", allowed);
    return refusal;
}

Refusal serviceUnavailable(const std::string& text) {
    const std::string seconds = std::to_string(RETRY_SECONDS);
    Refusal refusal(503,
                    RedfishMessage{"Base.1.9.ServiceTemporarilyUnavailable", {seconds}, {}, text});
    refusal.headers.emplace_back("Retry-After", seconds);
    return refusal;
}

Answer createdAnswer(const std::string& uri, nlohmann::json document) {
    return {.status = 201, .document = std::move(document), .headers = {{"Location", uri}}};
}

nlohmann::json messageObject(const RedfishMessage& message) {
    const MessageCare care = careOf(message.id);
    json object = {{"@odata.type", "#Message.v1_1_1.Message"},
                   {"MessageId", message.id},
                   {"Message", sentenceOf(message)},
                   {"MessageArgs", message.arguments},
                   {"MessageSeverity", care.severity},
                   {"Severity", care.severity},
                   {"Resolution", care.resolution}};
    if (!message.relatedProperties.empty()) {
        object["RelatedProperties"] = message.relatedProperties;
    }
    return object;
}

nlohmann::json errorDocument(const std::vector<RedfishMessage>& messages) {
    json details = json::array();
    for (const RedfishMessage& message : messages) {
        details.push_back(messageObject(message));
    }
    const RedfishMessage& first = messages.front();
    return {{"error",
             {{"code", first.id},
              {"message", sentenceOf(first)},
              {"@Message.ExtendedInfo", std::move(details)}}}};
}
