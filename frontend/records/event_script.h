#pragma once

// The event service's part: the script with which the daemon raises resource events.
//
// The daemon runs it with its keys in groups of five: operation ("add", "change" or "delete"),
// resource URI, resource type, the word "EventGroupId", group identifier. The script publishes each
// group as one JSON object on RESOURCE_EVENT_CHANNEL and returns the number of events; when the
// keys are no such groups, it returns a pair of error code and text and publishes nothing.

#include <optional>
#include <string>

struct redisContext;

inline constexpr char RESOURCE_EVENT_CHANNEL[] =
    "&&/redfish/v1/EventService/RESOURCE_EVENT_CHANNEL";

struct ResourceEvent {
    std::string operation;
    std::string uri;
    std::string type;
    std::string groupId;
};

// Loads the script and notes its digest where the daemon looks for it. Another script that is
// noted there and loaded stays. True when something was changed. Throws FrontEndError (NO_REDIS)
// when Redis cannot be reached or refuses a command.
bool loadEventScript(redisContext* context);

// The event of a published text; nothing when it is of another form.
[[nodiscard]] std::optional<ResourceEvent> parseEvent(const std::string& text);
