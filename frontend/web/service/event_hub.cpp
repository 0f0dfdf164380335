#include "frontend/web/service/event_hub.h"

#include "frontend/exchange/interrupt.h"
#include "frontend/exchange/subscription.h"

#include <algorithm>
#include <cstdio>
#include <exception>

namespace {

// The longest time in which the thread notices that it shall end.
constexpr double LISTENING_SECONDS = 0.2;

} // namespace

EventHub::~EventHub() {
    stop();
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
    streams.closeForGood();
}

bool EventHub::isStopping() {
    const std::lock_guard lock(mutex);
    return stopping || wasInterrupted();
}

void EventHub::raise(const EventFacts& facts) {
    ++lastEvent;
    streams.broadcast(eventStreamText(eventDocument(facts, lastEvent), lastEvent));
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
}

void EventHub::lookAtCertificates() {
    nextLook = Clock::now() + options.look;
    const RedisConnection session = openRedisSession();
    for (const EventFacts& facts : watch.look(session.get(), options.time())) {
        raise(facts);
    }
}

void EventHub::lookAfterStreams() {
    streams.closeUnless(options.mayStay);
    if (Clock::now() >= nextKeepAlive) {
        nextKeepAlive = Clock::now() + options.keepAlive;
        streams.broadcast(eventStreamComment("still here"));
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
    lookAtCertificates();
    noteSuccess();
    while (!isStopping()) {
        if (const auto message = nextMessage(session.get(), deadlineIn(LISTENING_SECONDS))) {
            take(message->text);
        }
        lookAfterStreams();
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
        lookAfterStreams();
        rest();
    }
}
