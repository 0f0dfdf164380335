#include "frontend/exchange/service_request.h"

#include "core/at_scope_end.h"
#include "core/protocol/channels.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/messages.h"
#include "core/redis_commands.h"
#include "core/secret.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/interrupt.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/exchange/stored_tree.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

// How often to check, while waiting, that the daemon still listens.
constexpr double CHECK_SECONDS = 1.0;

// Records of a killed front end stay this long after its deadline.
constexpr int SPARE_LIFETIME_SECONDS = 60;

std::string randomId() {
    std::array<unsigned char, 8> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw FrontEndError(FailureKind::LOCAL_FILE, "The system gives no random numbers.");
    }
    std::string text;
    for (const unsigned char byte : bytes) {
        constexpr const char* DIGITS = "0123456789abcdef";
        text += DIGITS[byte >> 4U];
        text += DIGITS[byte & 0xfU];
    }
    return text;
}

// Texts are written beside the store, in the form that keeps their line ends.
void storeBody(redisContext* context, const std::string& key, nlohmann::json& body) {
    nlohmann::json others = nlohmann::json::object();
    std::vector<std::string> texts = {"HMSET", key};
    const AtScopeEnd wiper([&] {
        wipeDocument(others);
        std::for_each(texts.begin(), texts.end(), wipeText);
    });
    for (const auto& [name, value] : body.items()) {
        if (value.is_string()) {
            texts.push_back(name);
            texts.push_back(storedText(value.get_ref<const std::string&>()));
        } else {
            others[name] = value;
        }
    }
    if (!others.empty()) {
        (void)writeResource(context, key, others);
    }
    if (texts.size() > 2) {
        (void)runSecretCommand(context, texts);
    }
}

FrontEndError nobodyListens(const std::string& channel) {
    return {FailureKind::NOBODY_LISTENS,
            "The daemon does not listen: the request on channel " + channel + " reached nobody.",
            "Start CertificateService on this Redis, or look into its log why it has ended."};
}

FrontEndError daemonEnded() {
    return {FailureKind::NO_ANSWER, "The daemon stopped listening while the request was under way.",
            "Its log or its exit status tells why; the request may have ended it."};
}

FrontEndError noAnswerInTime(double timeout) {
    std::array<char, 32> seconds{};
    (void)std::snprintf(seconds.data(), seconds.size(), "%g", timeout);
    return {FailureKind::TIMED_OUT,
            "The daemon listens, but gave no answer within " + std::string(seconds.data()) +
                " seconds.",
            "It may be busy with other requests; its log says what it does."};
}

} // namespace

bool isListenedTo(redisContext* session, const std::string& channel) {
    const RedisReply reply = runCommand(session, {"PUBSUB", "NUMSUB", channel});
    const bool isUnheard = reply->type == REDIS_REPLY_ARRAY && reply->elements == 2 &&
                           reply->element[1]->type == REDIS_REPLY_INTEGER &&
                           reply->element[1]->integer == 0;
    return !isUnheard;
}

ServiceRequest::ServiceRequest(redisContext* redisSession, RequestHead requestHead,
                               nlohmann::json body)
    : session(redisSession), head(std::move(requestHead)), keys(requestRecordKeys(randomId())) {
    const AtScopeEnd wiper([&body] { wipeDocument(body); });
    subscriber = openRedisSession();
    try {
        storeRecords(std::move(body));
        announce();
    } catch (...) {
        removeRequest();
        throw;
    }
}

ServiceRequest::~ServiceRequest() {
    (void)removeRecords();
}

void ServiceRequest::storeRecords(nlohmann::json body) const {
    storeBody(session, keys.body, body);
    wipeDocument(body);
    (void)runCommand(session, {"HSET", keys.request, RETURN_CHANNEL_FIELD, keys.returnChannel,
                               REQUEST_DATA_FIELD, keys.body, TARGET_URI_FIELD, head.targetUri,
                               TASK_FIELD, head.taskUri});
    const std::string lifetime =
        std::to_string(static_cast<long>(head.timeout) + SPARE_LIFETIME_SECONDS);
    for (const std::string& key : readStoredKeys(session, keys.body)) {
        (void)runCommand(session, {"EXPIRE", key, lifetime});
    }
    (void)runCommand(session, {"EXPIRE", keys.request, lifetime});
}

void ServiceRequest::announce() const {
    std::vector<std::string> channels = {keys.returnChannel};
    if (!head.taskUri.empty()) {
        channels.emplace_back(TASK_STATE_CHANNEL);
    }
    subscribe(subscriber.get(), channels);
    const std::string message = requestAnnouncement({keys.request, keys.status});
    if (runIntegerCommand(session, {"PUBLISH", head.channel, message}) == 0) {
        throw nobodyListens(head.channel);
    }
}

void ServiceRequest::removeRequest() const {
    removeStoredTree(session, keys.body);
    (void)runCommand(session, {"DEL", keys.request});
}

bool ServiceRequest::removeRecords() {
    try {
        removeRequest();
        removeAnswer(session, keys.status);
        return true;
    } catch (const FrontEndError&) {
        return false;
    }
}

void ServiceRequest::checkStillThere() const {
    if (!isListenedTo(session, head.channel)) {
        throw daemonEnded();
    }
}

ChannelMessage ServiceRequest::awaitMessage(Clock::time_point deadline, double timeout) {
    while (true) {
        const auto message =
            nextMessage(subscriber.get(), std::min(deadline, deadlineIn(CHECK_SECONDS)));
        if (message) {
            return *message;
        }
        if (wasInterrupted()) {
            throw FrontEndError(FailureKind::INTERRUPTED,
                                "Interrupted before the daemon had answered.");
        }
        checkStillThere();
        if (Clock::now() >= deadline) {
            throw noAnswerInTime(timeout);
        }
    }
}

void ServiceRequest::noteTaskChange(const ChannelMessage& message, const TaskObserver& observer) {
    const auto change =
        message.channel == TASK_STATE_CHANNEL ? parseTaskStateMessage(message.text) : std::nullopt;
    if (!change || change->taskUri != head.taskUri) {
        return;
    }
    taskEnded = taskEnded || isFinalTaskState(change->state);
    if (observer) {
        observer(*change);
    }
}

ServiceAnswer ServiceRequest::awaitAnswer(const TaskObserver& observer) {
    const Clock::time_point deadline = deadlineIn(head.timeout);
    ChannelMessage message = awaitMessage(deadline, head.timeout);
    while (message.channel != keys.returnChannel) {
        noteTaskChange(message, observer);
        message = awaitMessage(deadline, head.timeout);
    }
    const auto answer = readAnswer(session, keys.status);
    removeRequest();
    if (!answer) {
        throw FrontEndError(FailureKind::NO_ANSWER, "The daemon answered, but left no status.");
    }
    return *answer;
}

void ServiceRequest::awaitTaskEnd(double timeout, const TaskObserver& observer) {
    const Clock::time_point deadline = deadlineIn(timeout);
    while (!taskEnded) {
        noteTaskChange(awaitMessage(deadline, timeout), observer);
    }
}
