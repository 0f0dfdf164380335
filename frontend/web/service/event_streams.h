#pragma once

// The event streams that clients hold open.

#include "frontend/web/http/http_message.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct StreamClient {
    std::string address;
    std::string sessionId; // empty: it used none
};

using ClientTest = std::function<bool(const StreamClient&)>;

// An open event stream, as an EventDestination shows it.
struct EventStream {
    std::string id; // part of its URI
    StreamClient client;
};

inline constexpr std::size_t MOST_EVENT_STREAMS = 20;

// Safe on any thread. What streamFor returned, and what that returned, must be gone before this is.
class EventStreams {
public:
    explicit EventStreams(std::size_t mostStreams = MOST_EVENT_STREAMS) : maxStreams(mostStreams) {}

    // What an answer needs to become an event stream of this client. Throws Refusal (503) when
    // there are as many streams as may be; what is returned counts as one until it is gone.
    [[nodiscard]] StreamStart streamFor(const StreamClient& client);

    [[nodiscard]] std::vector<EventStream> list(); // those that have begun; oldest first

    // Sends the text on every stream that has begun.
    void broadcast(const std::string& text);

    // Ends the stream. False when there is none.
    bool close(const std::string& id);

    // Ends the streams of the session.
    void closeOf(const std::string& sessionId);

    // Ends the streams of those clients that may not stay. The test is called under a lock and must
    // not call back.
    void closeUnless(const ClientTest& mayStay);

    // Ends every stream; none begins from then on.
    void closeForGood();

private:
    using StreamTest = std::function<bool(const EventStream&)>;
    using Sinks = std::vector<std::shared_ptr<EventSink>>;

    struct Entry {
        EventStream stream;
        std::shared_ptr<EventSink> sink; // null: not begun yet
    };

    std::uint64_t reserve(const StreamClient& client);
    void begin(std::uint64_t number, const std::shared_ptr<EventSink>& sink);
    void remove(std::uint64_t number);
    [[nodiscard]] Sinks takeOut(const StreamTest& isMeant);
    static void endAll(const Sinks& sinks);

    const std::size_t maxStreams;
    std::mutex mutex;
    bool isClosed = false;                  // guarded by the mutex
    std::map<std::uint64_t, Entry> entries; // guarded by the mutex
    std::uint64_t lastNumber = 0;           // guarded by the mutex
};
