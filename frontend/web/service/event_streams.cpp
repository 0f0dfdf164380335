#include "frontend/web/service/event_streams.h"

#include "frontend/web/service/answer.h"
#include "frontend/web/service/event_document.h"

#include <iterator>

// Sinks are never called under the lock: one that ends may call back.

std::uint64_t EventStreams::reserve(const StreamClient& client) {
    const std::lock_guard lock(mutex);
    if (entries.size() >= maxStreams) {
        throw serviceUnavailable("There are as many event streams open as the service allows.");
    }
    const std::uint64_t number = ++lastNumber;
    entries[number] = {{std::to_string(number), client}, nullptr};
    return number;
}

void EventStreams::begin(std::uint64_t number, const std::shared_ptr<EventSink>& sink) {
    bool begins = false;
    {
        const std::lock_guard lock(mutex);
        const auto found = entries.find(number);
        begins = !isClosed && found != entries.end();
        if (begins) {
            found->second.sink = sink;
        }
    }
    if (begins) {
        sink->send(eventStreamComment("events follow"));
    } else {
        sink->end();
    }
}

void EventStreams::remove(std::uint64_t number) {
    const std::lock_guard lock(mutex);
    entries.erase(number);
}

StreamStart EventStreams::streamFor(const StreamClient& client) {
    const std::uint64_t number = reserve(client);
    // Whoever drops the answer before it was sent gives the place back.
    const std::shared_ptr<void> place(nullptr, [this, number](void*) { remove(number); });
    return [this, number, place](const std::shared_ptr<EventSink>& sink) -> StreamEnd {
        begin(number, sink);
        return [this, number, place] { remove(number); };
    };
}

std::vector<EventStream> EventStreams::list() {
    const std::lock_guard lock(mutex);
    std::vector<EventStream> streams;
    for (const auto& [number, entry] : entries) {
        if (entry.sink != nullptr) {
            streams.push_back(entry.stream);
        }
    }
    return streams;
}

void EventStreams::broadcast(const std::string& text) {
    Sinks sinks;
    {
        const std::lock_guard lock(mutex);
        for (const auto& [number, entry] : entries) {
            if (entry.sink != nullptr) {
                sinks.push_back(entry.sink);
            }
        }
    }
    for (const auto& sink : sinks) {
        sink->send(text);
    }
}

// The sinks of the streams that are meant, which are no longer listed.
EventStreams::Sinks EventStreams::takeOut(const StreamTest& isMeant) {
    const std::lock_guard lock(mutex);
    Sinks sinks;
    for (auto each = entries.begin(); each != entries.end();) {
        const bool isTaken = each->second.sink != nullptr && isMeant(each->second.stream);
        if (isTaken) {
            sinks.push_back(each->second.sink);
        }
        each = isTaken ? entries.erase(each) : std::next(each);
    }
    return sinks;
}

void EventStreams::endAll(const Sinks& sinks) {
    for (const auto& sink : sinks) {
        sink->end();
    }
}

bool EventStreams::close(const std::string& id) {
    const Sinks sinks = takeOut([&id](const EventStream& stream) { return stream.id == id; });
    endAll(sinks);
    return !sinks.empty();
}

void EventStreams::closeOf(const std::string& sessionId) {
    endAll(takeOut(
        [&sessionId](const EventStream& stream) { return stream.client.sessionId == sessionId; }));
}

void EventStreams::closeUnless(const ClientTest& mayStay) {
    endAll(takeOut([&mayStay](const EventStream& stream) { return !mayStay(stream.client); }));
}

void EventStreams::closeForGood() {
    {
        const std::lock_guard lock(mutex);
        isClosed = true;
    }
    endAll(takeOut([](const EventStream&) { return true; }));
}
