#pragma once

// Events as clients see them: Redfish documents (Event schema 1.7) in a stream of Server-Sent
// Events.

#include "frontend/records/event_script.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What an event says.
struct EventFacts {
    std::string type;      // an EventType of the schema: "ResourceAdded"
    std::string messageId; // "ResourceEvent.1.0.ResourceCreated"
    std::vector<std::string> messageArgs;
    std::string message;              // a sentence
    std::string severity;             // "OK", "Warning" or "Critical"
    std::string origin;               // the resource's URI
    std::optional<long long> groupId; // events that belong together share it
};

// What the daemon's event says to clients; nothing when its operation is unknown or its URI is no
// resource's.
[[nodiscard]] std::optional<EventFacts> factsOf(const ResourceEvent& event);

// The document of one event that happens now. The number is the event's own.
[[nodiscard]] nlohmann::json eventDocument(const EventFacts& facts, std::uint64_t number);

// The document as it is sent: its "id:" line, its "data:" line and the blank line.
[[nodiscard]] std::string eventStreamText(const nlohmann::json& document, std::uint64_t number);

// A line that clients pass over.
[[nodiscard]] std::string eventStreamComment(const std::string& text);
