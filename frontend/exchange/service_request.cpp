#include "frontend/exchange/service_request.h"

#include "core/protocol/channels.h"
#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/messages.h"
#include "core/redis_commands.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/exchange/stored_tree.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

namespace {

// While waiting, the daemon is looked for at this pace.
constexpr double LOOK_SECONDS = 1.0;

// Records of a killed front end live on for this time after its deadline.
constexpr int SPARE_LIFETIME_SECONDS = 60;

std::string randomId() {
    std::array<unsigned char, 8> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw FrontEndError(EXIT_LOCAL_FILE, "The system gives no random numbers.");
    }
    std::string text;
    for (const unsigned char byte : bytes) {
        constexpr const char* DIGITS = "0123456789abcdef";
        text += DIGITS[byte >> 4U];
        text += DIGITS[byte & 0xfU];
    }
    return text;
}

// The members that are texts are written beside the store, in the form that keeps their line ends.
void storeBody(redisContext* context, const std::string& key, const nlohmann::json& body) {
    nlohmann::json others = nlohmann::json::object();
    std::map<std::string, std::string> texts;
    for (const auto& [name, value] : body.items()) {
        if (value.is_string()) {
            texts[name] = storedText(value.get<std::string>());
        } else {
            others[name] = value;
        }
    }
    if (!others.empty()) {
        (void)writeResource(context, key, others);
    }
    if (!texts.empty()) {
        (void)redisHMSet(context, key, texts);
    }
}

FrontEndError nobodyListens(const std::string& channel) {
    return {EXIT_NO_ANSWER,
            "The daemon does not listen: the request on channel " + channel + " reached nobody.",
            "Start CertificateService on this Redis, or look into its log why it has ended."};
}

FrontEndError daemonEnded() {
    return {EXIT_NO_ANSWER, "The daemon stopped listening while the request was under way.",
            "Its log or its exit status tells why; the request may have ended it."};
}

FrontEndError noAnswerInTime(double timeout) {
    std::array<char, 32> seconds{};
    (void)std::snprintf(seconds.data(), seconds.size(), "%g", timeout);
    return {EXIT_NO_ANSWER,
            "The daemon listens, but gave no answer within " + std::string(seconds.data()) +
                " seconds.",
            "It may be busy with other requests: try again with a longer --timeout. Its log says "
            "what it does."};
}

} // namespace

RequestExchange::RequestExchange(const ServiceRequest& serviceRequest, const nlohmann::json& body)
    : request(serviceRequest), keys(requestRecordKeys(randomId())), work(openRedisSession()),
      subscriber(openRedisSession()) {
    try {
        storeRecords(body);
        announce();
    } catch (...) {
        removeRequest();
        throw;
    }
}

RequestExchange::~RequestExchange() {
    try {
        removeRequest();
        removeAnswer(work.get(), keys.status);
    } catch (const FrontEndError& error) {
        // The command's own result is what counts; the records expire or are named by no one.
        (void)std::fprintf(stderr, "certificatectl: the request's records stay behind: %s\n",
                           error.what());
    }
}

void RequestExchange::storeRecords(const nlohmann::json& body) const {
    storeBody(work.get(), keys.body, body);
    (void)runCommand(work.get(), {"HSET", keys.request, RETURN_CHANNEL_FIELD, keys.returnChannel,
                                  REQUEST_DATA_FIELD, keys.body, TARGET_URI_FIELD,
                                  request.targetUri, TASK_FIELD, request.taskUri});
    const std::string lifetime =
        std::to_string(static_cast<long>(request.timeout) + SPARE_LIFETIME_SECONDS);
    for (const StoredRecord& record : readStoredTree(work.get(), keys.body)) {
        (void)runCommand(work.get(), {"EXPIRE", record.key, lifetime});
    }
    (void)runCommand(work.get(), {"EXPIRE", keys.request, lifetime});
}

void RequestExchange::announce() const {
    std::vector<std::string> channels = {keys.returnChannel};
    if (!request.taskUri.empty()) {
        channels.emplace_back(TASK_STATE_CHANNEL);
    }
    subscribe(subscriber.get(), channels);
    const std::string message = requestAnnouncement({keys.request, keys.status});
    if (runIntegerCommand(work.get(), {"PUBLISH", request.channel, message}) == 0) {
        throw nobodyListens(request.channel);
    }
}

void RequestExchange::removeRequest() const {
    removeStoredTree(work.get(), keys.body);
    (void)runCommand(work.get(), {"DEL", keys.request});
}

void RequestExchange::checkStillThere() const {
    const RedisReply reply = runCommand(work.get(), {"PUBSUB", "NUMSUB", request.channel});
    const bool isGone = reply->type == REDIS_REPLY_ARRAY && reply->elements == 2 &&
                        reply->element[1]->type == REDIS_REPLY_INTEGER &&
                        reply->element[1]->integer == 0;
    if (isGone) {
        throw daemonEnded();
    }
}

ChannelMessage RequestExchange::awaitMessage(Clock::time_point deadline, double timeout) {
    while (true) {
        const auto message =
            nextMessage(subscriber.get(), std::min(deadline, deadlineIn(LOOK_SECONDS)));
        if (message) {
            return *message;
        }
        if (wasInterrupted()) {
            throw FrontEndError(EXIT_INTERRUPTED, "Interrupted before the daemon had answered.");
        }
        checkStillThere();
        if (Clock::now() >= deadline) {
            throw noAnswerInTime(timeout);
        }
    }
}

ServiceAnswer RequestExchange::awaitAnswer(const TaskObserver& observer) {
    const Clock::time_point deadline = deadlineIn(request.timeout);
    while (true) {
        const ChannelMessage message = awaitMessage(deadline, request.timeout);
        if (message.channel == keys.returnChannel) {
            break;
        }
        const auto change = parseTaskStateMessage(message.text);
        if (change && change->taskUri == request.taskUri) {
            observer(*change);
            ended = isFinalTaskState(change->state) ? *change : ended;
        }
    }
    const auto answer = readAnswer(work.get(), keys.status);
    removeRequest();
    if (!answer) {
        throw FrontEndError(EXIT_NO_ANSWER, "The daemon answered, but left no status.");
    }
    return *answer;
}

TaskChange RequestExchange::awaitTaskEnd(double timeout, const TaskObserver& observer) {
    const Clock::time_point deadline = deadlineIn(timeout);
    while (!isFinalTaskState(ended.state)) {
        const ChannelMessage message = awaitMessage(deadline, timeout);
        const auto change = parseTaskStateMessage(message.text);
        if (message.channel == TASK_STATE_CHANNEL && change && change->taskUri == request.taskUri) {
            observer(*change);
            ended = *change;
        }
    }
    return ended;
}
