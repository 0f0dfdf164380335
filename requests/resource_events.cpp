#include "requests/resource_events.h"

#include "core/logger.h"
#include "core/protocol/fields.h"
#include "core/protocol/redfish_names.h"
#include "core/protocol/shared_records.h"
#include "core/protocol/status_words.h"
#include "core/redis_commands.h"
#include "core/redis_reply.h"
#include "core/settings.h"
#include "requests/event_group.h"
#include "requests/return_status.h"

#include <atomic>

namespace {

constexpr const char* EVENT_GROUP_ID_WORD = "EventGroupId";

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

void appendEventGroup(std::vector<std::string>& arguments, const std::string& operation,
                      const std::string& uri, const std::string& typeName,
                      const std::string& eventGroupId) {
    arguments.insert(arguments.end(),
                     {operation, uri, typeName, EVENT_GROUP_ID_WORD, eventGroupId});
}

// All texts are passed as keys of the script, none as its arguments.
std::string scriptCommand(const std::string& digest, const std::vector<std::string>& arguments) {
    std::string command = "EVALSHA " + digest + " " + std::to_string(arguments.size());
    for (const std::string& argument : arguments) {
        command += " " + argument;
    }
    return command;
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

void recordPrivateKey(redisContext* context, const std::string& certificateUri,
                      const std::string& privateKeyValue) {
    if (privateKeyValue.empty()) {
        (void)redisHDel(context, certificateUri, CERT_PRIVATE_KEY_FIELD);
    } else {
        (void)redisHSet(context, certificateUri, CERT_PRIVATE_KEY_FIELD, privateKeyValue);
    }
}

} // namespace

std::vector<std::string> memberEventArguments(const std::string& operation,
                                              const std::string& certificateUri,
                                              const std::string& collectionUri,
                                              std::uint32_t eventGroupId) {
    const std::string id = std::to_string(eventGroupId);
    std::vector<std::string> arguments;
    appendEventGroup(arguments, operation, certificateUri, CERTIFICATE_TYPE_NAME, id);
    appendEventGroup(arguments, "change", collectionUri, CERTIFICATE_COLLECTION_TYPE_NAME, id);
    appendEventGroup(arguments, "change", CERTIFICATE_LOCATIONS_URI,
                     CERTIFICATE_LOCATIONS_TYPE_NAME, id);
    return arguments;
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
    // The whole text is the command format: hiredis parts it at blanks.
    const std::string format = escapeFormat(scriptCommand(digest, arguments));
    const RedisReply reply(static_cast<redisReply*>(redisCommand(context, format.c_str())));
    return reply ? readScriptReply(*reply, logger) : 0;
}

void finishCertificateReplace(redisContext* context, const std::string& certificateUri,
                              const CreateCertResult& result, const std::string& statusKey) {
    std::vector<std::string> arguments;
    appendEventGroup(arguments, "change", certificateUri, CERTIFICATE_TYPE_NAME,
                     std::to_string(getNextEventGroupId(context, gLogger)));
    recordPrivateKey(context, certificateUri, result.privateKeyValue);
    if (generateResourceEvent(context, arguments) == 0) {
        gLogger->error("Failed to generate event.");
        writeDefaultReturnStatus(context, statusKey);
        return;
    }
    (void)redisHSet(context, statusKey, RETURN_STATUS_FIELD, STATUS_OK_RES);
    (void)redisHSet(context, statusKey, LOCATION_FIELD, certificateUri);
}
