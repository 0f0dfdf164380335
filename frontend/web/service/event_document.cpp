#include "frontend/web/service/event_document.h"

#include "core/protocol/redfish_names.h"
#include "frontend/records/timestamps.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <string_view>

namespace {

using nlohmann::json;

// What becomes of the daemon's words.
struct OperationFacts {
    std::string_view operation;
    std::string_view type;
    std::string_view messageId;
    std::string_view verb;
};

constexpr std::array<OperationFacts, 3> OPERATIONS = {{
    {"add", "ResourceAdded", "ResourceEvent.1.0.ResourceCreated", "was created"},
    {"change", "ResourceUpdated", "ResourceEvent.1.0.ResourceChanged", "was changed"},
    {"delete", "ResourceRemoved", "ResourceEvent.1.0.ResourceRemoved", "was removed"},
}};

const OperationFacts* findOperation(const std::string& operation) {
    for (const OperationFacts& each : OPERATIONS) {
        if (each.operation == operation) {
            return &each;
        }
    }
    return nullptr;
}

std::optional<long long> numberOf(const std::string& text) {
    long long number = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stopped == end ? std::optional(number) : std::nullopt;
}

json eventRecord(const EventFacts& facts, std::uint64_t number) {
    json record = {{"MemberId", "1"},
                   {"EventId", std::to_string(number)},
                   {"EventType", facts.type},
                   {"EventTimestamp", isoTimeNow()},
                   {"MessageId", facts.messageId},
                   {"MessageArgs", facts.messageArgs},
                   {"Message", facts.message},
                   {"MessageSeverity", facts.severity},
                   {"Severity", facts.severity},
                   {"OriginOfCondition", {{ODATA_ID, facts.origin}}}};
    if (facts.groupId) {
        record["EventGroupId"] = *facts.groupId;
    }
    return record;
}

} // namespace

std::optional<EventFacts> factsOf(const ResourceEvent& event) {
    const OperationFacts* const found = findOperation(event.operation);
    if (found == nullptr || !event.uri.starts_with("/redfish/v1/")) {
        return std::nullopt;
    }
    return EventFacts{.type = std::string(found->type),
                      .messageId = std::string(found->messageId),
                      .messageArgs = {},
                      .message = "The resource " + event.uri + " " + std::string(found->verb) + ".",
                      .severity = "OK",
                      .origin = event.uri,
                      .groupId = numberOf(event.groupId)};
}

nlohmann::json eventDocument(const EventFacts& facts, std::uint64_t number) {
    return {{ODATA_TYPE, "#Event.v1_7_0.Event"},
            {ID_PROPERTY, std::to_string(number)},
            {NAME_PROPERTY, "Resource Event"},
            {"Context", ""},
            {"Events", json::array({eventRecord(facts, number)})},
            {"Events@odata.count", 1}};
}

std::string eventStreamText(const nlohmann::json& document, std::uint64_t number) {
    return "id: " + std::to_string(number) +
           "\ndata: " + document.dump(-1, ' ', false, json::error_handler_t::replace) + "\n\n";
}

std::string eventStreamComment(const std::string& text) {
    return ": " + text + "\n\n";
}
