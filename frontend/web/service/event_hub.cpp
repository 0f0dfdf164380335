#include "frontend/web/service/event_hub.h"

#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/interrupt.h"
#include "frontend/exchange/subscription.h"
#include "frontend/web/service/answer.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

// The longest time in which the thread notices that it shall end.
constexpr double LISTENING_SECONDS = 0.2;

void endAll(const std::vector<std::shared_ptr<EventSink>>& sinks) {
    for (const auto& sink : sinks) {
        sink->end();
    }
}

} // namespace

EventHub::~EventHub() {
    stop();
}

void EventHub::onChange(std::function<void()> listener) {
    listeners.push_back(std::move(listener));
}

void EventHub::start() {
    thread = std::thread([this] { run(); });
}

void EventHub::stop() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
    }
    stopped.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
    endAll(openSinks());
}

bool EventHub::isStopping() {
    const std::lock_guard lock(mutex);
    return stopping || wasInterrupted();
}

// --- streams ------------------------------------------------------------------------------------

std::uint64_t EventHub::reserve(const StreamClient& client) {
    const std::lock_guard lock(mutex);
    if (entries.size() >= options.mostStreams) {
        throw serviceUnavailable("There are as many event streams open as the service allows.");
    }
    const std::uint64_t number = ++lastStream;
    entries[number] = {{std::to_string(number), client}, nullptr};
    return number;
}

void EventHub::begin(std::uint64_t number, const std::shared_ptr<EventSink>& sink) {
    bool begins = false;
    {
        const std::lock_guard lock(mutex);
        const auto found = entries.find(number);
        begins = !stopping && found != entries.end();
        if (begins) {
            found->second.sink = sink;
        }
    }
    // Not under the lock: the sink may call back when it ends.
    if (begins) {
        sink->send(eventStreamComment("events follow"));
    } else {
        sink->end();
    }
}

void EventHub::remove(std::uint64_t number) {
    const std::lock_guard lock(mutex);
    entries.erase(number);
}

StreamStart EventHub::streamFor(const StreamClient& client) {
    const std::uint64_t number = reserve(client);
    // Whoever drops the answer before it was sent gives the place back.
    const std::shared_ptr<void> place(nullptr, [this, number](void*) { remove(number); });
    return [this, number, place](const std::shared_ptr<EventSink>& sink) -> StreamEnd {
        begin(number, sink);
        return [this, number, place] { remove(number); };
    };
}

std::vector<EventStream> EventHub::list() {
    const std::lock_guard lock(mutex);
    std::vector<EventStream> streams;
    for (const auto& [number, entry] : entries) {
        if (entry.sink != nullptr) {
            streams.push_back(entry.stream);
        }
    }
    return streams;
}

// The sinks of the streams that are meant, which are no longer listed.
std::vector<std::shared_ptr<EventSink>> EventHub::takeOut(const StreamTest& isMeant) {
    const std::lock_guard lock(mutex);
    std::vector<std::shared_ptr<EventSink>> sinks;
    for (auto each = entries.begin(); each != entries.end();) {
        const bool isTaken = each->second.sink != nullptr && isMeant(each->second.stream);
        if (isTaken) {
            sinks.push_back(each->second.sink);
        }
        each = isTaken ? entries.erase(each) : std::next(each);
    }
    return sinks;
}

bool EventHub::close(const std::string& id) {
    const auto sinks = takeOut([&id](const EventStream& stream) { return stream.id == id; });
    endAll(sinks);
    return !sinks.empty();
}

void EventHub::closeOf(const std::string& sessionId) {
    endAll(takeOut(
        [&sessionId](const EventStream& stream) { return stream.client.sessionId == sessionId; }));
}

std::vector<std::shared_ptr<EventSink>> EventHub::openSinks() {
    const std::lock_guard lock(mutex);
    std::vector<std::shared_ptr<EventSink>> sinks;
    for (const auto& [number, entry] : entries) {
        if (entry.sink != nullptr) {
            sinks.push_back(entry.sink);
        }
    }
    return sinks;
}

void EventHub::broadcast(const std::string& text) {
    for (const auto& sink : openSinks()) {
        sink->send(text);
    }
}

// --- the thread ---------------------------------------------------------------------------------

void EventHub::raise(const EventFacts& facts) {
    ++lastEvent;
    broadcast(eventStreamText(eventDocument(facts, lastEvent), lastEvent));
}

void EventHub::take(const std::string& text) {
    const auto event = parseEvent(text);
    const auto facts = event ? factsOf(*event) : std::nullopt;
    if (!facts) {
        return;
    }
    raise(*facts);
    // Not moved on by the next event, so that a row of them does not put the look off.
    nextLook = std::min(nextLook, Clock::now() + options.lookDelay);
    tellListeners();
}

void EventHub::tellListeners() {
    for (const auto& listener : listeners) {
        listener();
    }
}

void EventHub::lookAtCertificates() {
    nextLook = Clock::now() + options.look;
    const RedisConnection session = openRedisSession();
    for (const EventFacts& facts : watch.look(session.get(), options.time())) {
        raise(facts);
    }
}

void EventHub::keepStreamsOpen() {
    if (Clock::now() >= nextKeepAlive) {
        nextKeepAlive = Clock::now() + options.keepAlive;
        broadcast(eventStreamComment("still here"));
    }
}

void EventHub::noteSuccess() {
    if (hasFailed) {
        (void)std::fprintf(stderr, "certificateweb: events come again\n");
    }
    hasFailed = false;
}

void EventHub::noteFailure(const std::string& text) {
    if (!hasFailed) {
        (void)std::fprintf(stderr, "certificateweb: no events until this is mended: %s\n",
                           text.c_str());
    }
    hasFailed = true;
}

void EventHub::follow() {
    const RedisConnection session = openRedisSession();
    subscribe(session.get(), {RESOURCE_EVENT_CHANNEL});
    tellListeners();
    lookAtCertificates();
    noteSuccess();
    while (!isStopping()) {
        if (const auto message = nextMessage(session.get(), deadlineIn(LISTENING_SECONDS))) {
            take(message->text);
        }
        keepStreamsOpen();
        if (Clock::now() >= nextLook) {
            lookAtCertificates();
        }
    }
}

void EventHub::tryToFollow() {
    try {
        follow();
    } catch (const std::exception& error) {
        noteFailure(error.what());
    }
}

void EventHub::rest() {
    std::unique_lock lock(mutex);
    (void)stopped.wait_for(lock, options.reconnect, [this] { return stopping; });
}

void EventHub::run() {
    nextKeepAlive = Clock::now() + options.keepAlive;
    while (!isStopping()) {
        tryToFollow();
        keepStreamsOpen();
        rest();
    }
}
