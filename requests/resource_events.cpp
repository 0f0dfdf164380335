#include "requests/resource_events.h"

#include "core/logger.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/shared_records.h"
#include "core/redis_commands.h"
#include "core/redis_reply.h"
#include "core/settings.h"

#include <algorithm>
#include <atomic>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace {

constexpr const char* CHANGE = "change";
constexpr std::string_view EVENT_GROUP_ID_WORD = "EventGroupId";

// Points at one of the texts below. Threads that raise their first events at the same time may both
// read the configuration; they store the same value.
constexpr const char* NOT_INIT = "NOT_INIT";
constexpr const char* EVENTS_ON = "true";
constexpr const char* EVENTS_OFF = "false";
std::atomic<const char*> gGenerateResourceEvent = NOT_INIT;

const char* readEventSetting() {
    const bool off = readSetting("GenerateResourceEvent") == EVENTS_OFF;
    const char* setting = off ? EVENTS_OFF : EVENTS_ON;
    gGenerateResourceEvent.store(setting, std::memory_order_relaxed);
    gLogger->debug(
        "CertificateService will %sgenerate events when resource is created/updated/removed.",
        off ? "not " : "");
    return setting;
}

bool eventsAreOff() {
    const char* setting = gGenerateResourceEvent.load(std::memory_order_relaxed);
    if (setting == NOT_INIT) {
        setting = readEventSetting();
    }
    return setting == EVENTS_OFF;
}

struct ResourceEvent {
    std::string_view operation;
    std::string_view uri;
    std::string_view typeName;
};

std::vector<std::string> eventArguments(std::initializer_list<ResourceEvent> events,
                                        std::uint32_t eventGroupId) {
    const std::string groupId = std::to_string(eventGroupId);
    std::vector<std::string> arguments;
    for (const auto& [operation, uri, typeName] : events) {
        for (const std::string_view argument :
             {operation, uri, typeName, EVENT_GROUP_ID_WORD, std::string_view(groupId)}) {
            arguments.emplace_back(argument);
        }
    }
    return arguments;
}

// The words of the command. Texts are parted at blanks like the command's other words: one that
// holds blanks is several keys of the script, although only one is counted.
std::vector<std::string_view> splitAtBlanks(std::string_view command) {
    std::vector<std::string_view> words;
    std::size_t start = command.find_first_not_of(' ');
    while (start != std::string_view::npos) {
        const std::size_t end = std::min(command.find(' ', start), command.size());
        words.push_back(command.substr(start, end - start));
        start = command.find_first_not_of(' ', end);
    }
    return words;
}

// All texts are passed as keys of the script, none as its arguments.
std::string scriptCommand(const std::string& digest, const std::vector<std::string>& arguments) {
    std::string command = "EVALSHA " + digest + " " + std::to_string(arguments.size());
    for (const std::string& argument : arguments) {
        command += " " + argument;
    }
    return command.substr(0, command.find('\0'));
}

void logScriptFailure(Logger* logger, const std::string& text) {
    logErrorText(logger, "Failed to generate life cycle event.");
    // The text comes from the server; without a logger it is printed as it is.
    logErrorText(logger, logger == nullptr ? text : escapeFormat(text));
}

int readScriptReply(const redisReply& reply, Logger* logger) {
    if (reply.type == REDIS_REPLY_INTEGER) {
        return 1;
    }
    if (reply.type == REDIS_REPLY_ERROR) {
        logScriptFailure(logger, std::string(replyText(reply)));
    } else if (reply.type == REDIS_REPLY_ARRAY && reply.elements == 2) {
        logScriptFailure(logger, std::string(replyText(*reply.element[1])));
    } else {
        logErrorText(logger, "Failed to generate life cycle event. (Unknown error)");
    }
    return 0;
}

} // namespace

std::vector<std::string> memberEventArguments(const std::string& operation,
                                              const std::string& certificateUri,
                                              const std::string& collectionUri,
                                              std::uint32_t eventGroupId) {
    return eventArguments({{operation, certificateUri, CERTIFICATE_TYPE_NAME},
                           {CHANGE, collectionUri, CERTIFICATE_COLLECTION_TYPE_NAME},
                           {CHANGE, CERTIFICATE_LOCATIONS_URI, CERTIFICATE_LOCATIONS_TYPE_NAME}},
                          eventGroupId);
}

std::vector<std::string> replacementEventArguments(const std::string& certificateUri,
                                                   std::uint32_t eventGroupId) {
    return eventArguments({{CHANGE, certificateUri, CERTIFICATE_TYPE_NAME}}, eventGroupId);
}

int generateResourceEvent(redisContext* context, const std::vector<std::string>& arguments) {
    return eventsAreOff() ? 1 : runResourceChangeScript(context, arguments, gLogger);
}

int runResourceChangeScript(redisContext* context, const std::vector<std::string>& arguments,
                            Logger* logger) {
    if (arguments.size() < 2) {
        return 0;
    }
    const std::string digest = redisHGet(context, SCRIPT_DIGESTS_KEY, RESOURCE_CHANGE_FIELD);
    if (digest.empty()) {
        logErrorText(logger, "Cannot get SHA script resourceChange.");
        return 0;
    }
    const std::string command = scriptCommand(digest, arguments);
    const RedisReply reply = sendRedisCommand(context, splitAtBlanks(command));
    return reply ? readScriptReply(*reply, logger) : 0;
}
