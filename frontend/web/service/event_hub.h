#pragma once

// From the daemon's resource events to the clients' event streams.
//
// One thread listens to Redis with a session of its own. What the daemon publishes goes to every
// open stream as a Redfish event; so does the news that a certificate nears its end or is over it
// (frontend/web/service/certificate_watch.h). Nothing is kept: a stream gets what happens while it
// is open.

#include "frontend/exchange/deadline.h"
#include "frontend/web/service/certificate_watch.h"
#include "frontend/web/service/event_document.h"
#include "frontend/web/service/event_streams.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

struct EventHubOptions {
    std::chrono::milliseconds keepAlive{15000}; // between comments that keep the streams open
    std::chrono::milliseconds look{60000};      // between looks at the certificates
    std::chrono::milliseconds lookDelay{1000};  // from a change to the look at the certificates
    std::chrono::milliseconds reconnect{1000};  // between attempts to reach Redis
    std::function<std::time_t()> time = [] { return std::time(nullptr); }; // for the certificates

    // Whether a stream of this client stays open; asked several times a second, on the hub's
    // thread.
    ClientTest mayStay = [](const StreamClient& /*client*/) { return true; };
};

// Safe on any thread.
class EventHub {
public:
    // The streams must outlive the hub.
    explicit EventHub(EventStreams& eventStreams, EventHubOptions hubOptions = {})
        : streams(eventStreams), options(std::move(hubOptions)) {}
    EventHub(const EventHub&) = delete;
    EventHub& operator=(const EventHub&) = delete;
    ~EventHub(); // as stop()

    // Begins to listen to Redis; connects anew when Redis has been gone, and says so once on
    // standard error.
    void start();

    // Ends the thread and every stream; none begins from then on.
    void stop();

private:
    [[nodiscard]] bool isStopping();

    // On the thread alone.
    void run();
    void tryToFollow();
    void follow();
    void take(const std::string& text);
    void raise(const EventFacts& facts);
    void lookAfterStreams();
    void lookAtCertificates();
    void noteFailure(const std::string& text);
    void noteSuccess();
    void rest();

    EventStreams& streams;
    const EventHubOptions options;

    std::mutex mutex;
    std::condition_variable stopped;
    bool stopping = false; // guarded by the mutex

    std::thread thread;

    // Of the thread.
    CertificateWatch watch;
    Clock::time_point nextKeepAlive;
    Clock::time_point nextLook;
    std::uint64_t lastEvent = 0;
    bool hasFailed = false; // and has said so
};
