#pragma once

// From the daemon's resource events to the clients' event streams.

#include "frontend/web/http/http_message.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// An open event stream, as an EventDestination shows it.
struct EventStream {
    std::string id; // part of its URI
    std::string clientAddress;
};

// Safe on any thread.
class EventHub {
public:
    EventHub() = default;
    EventHub(const EventHub&) = delete;
    EventHub& operator=(const EventHub&) = delete;
    ~EventHub(); // as stop()

    // Begins to listen to Redis, on a thread of its own; it connects anew when Redis has been gone.
    void start();

    // Ends the thread and every stream.
    void stop();

    // What an answer needs to become an event stream of this client.
    [[nodiscard]] StreamStart streamFor(const std::string& clientAddress);

    [[nodiscard]] std::vector<EventStream> list(); // oldest first

    // Ends the stream. False when there is none.
    bool close(const std::string& id);

private:
    struct Entry {
        EventStream stream;
        std::shared_ptr<EventSink> sink;
    };

    std::mutex mutex;
    std::map<std::uint64_t, Entry> entries;
    std::atomic<bool> stopping = false;
    std::thread listener;
};
