#pragma once

// From the daemon's resource events to the clients' event streams.
//
// One thread listens to Redis with a session of its own. What the daemon publishes goes to every
// open stream as a Redfish event; so does the news that a certificate nears its end or is over it
// (frontend/web/service/certificate_watch.h). Nothing is kept: a stream gets what happens while it
// is open.

#include "frontend/exchange/deadline.h"
#include "frontend/web/http/http_message.h"
#include "frontend/web/service/certificate_watch.h"
#include "frontend/web/service/event_document.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct StreamClient {
    std::string address;
    std::string sessionId; // empty: it used none
};

// An open event stream, as an EventDestination shows it.
struct EventStream {
    std::string id; // part of its URI
    StreamClient client;
};

struct EventHubOptions {
    std::size_t mostStreams = 20;
    std::chrono::milliseconds keepAlive{15000}; // between comments that keep the streams open
    std::chrono::milliseconds look{60000};      // between looks at the certificates
    std::chrono::milliseconds lookDelay{1000};  // from a change to the look at the certificates
    std::chrono::milliseconds reconnect{1000};  // between attempts to reach Redis
    std::function<std::time_t()> time = [] { return std::time(nullptr); }; // for the certificates
};

// Safe on any thread. What streamFor returned, and what that returned, must be gone before the hub.
class EventHub {
public:
    explicit EventHub(EventHubOptions hubOptions = {}) : options(std::move(hubOptions)) {}
    EventHub(const EventHub&) = delete;
    EventHub& operator=(const EventHub&) = delete;
    ~EventHub(); // as stop()

    // Has the function called, on the hub's thread, whenever resources may have changed: after each
    // of the daemon's events, and when Redis has been reached, since events may have been missed.
    // To be called before start().
    void onChange(std::function<void()> listener);

    // Begins to listen to Redis; connects anew when Redis has been gone, and says so once on
    // standard error.
    void start();

    // Ends the thread and every stream; none begins from then on.
    void stop();

    // What an answer needs to become an event stream of this client. Throws Refusal (503) when
    // there are as many streams as may be; until it is called or gone, what is returned counts as a
    // stream.
    [[nodiscard]] StreamStart streamFor(const StreamClient& client);

    [[nodiscard]] std::vector<EventStream> list(); // those that are open; oldest first

    // Ends the stream. False when there is none.
    bool close(const std::string& id);

    // Ends the streams of the session.
    void closeOf(const std::string& sessionId);

private:
    using StreamTest = std::function<bool(const EventStream&)>;

    struct Entry {
        EventStream stream;
        std::shared_ptr<EventSink> sink; // null: not begun yet
    };

    std::uint64_t reserve(const StreamClient& client);
    void begin(std::uint64_t number, const std::shared_ptr<EventSink>& sink);
    void remove(std::uint64_t number);
    [[nodiscard]] std::vector<std::shared_ptr<EventSink>> openSinks();
    [[nodiscard]] std::vector<std::shared_ptr<EventSink>> takeOut(const StreamTest& isMeant);
    void broadcast(const std::string& text);

    // On the thread alone.
    void run();
    void tryToFollow();
    void follow();
    void take(const std::string& text);
    void raise(const EventFacts& facts);
    void tellListeners();
    void keepStreamsOpen();
    void lookAtCertificates();
    void noteFailure(const std::string& text);
    void noteSuccess();
    void rest();

    [[nodiscard]] bool isStopping();

    const EventHubOptions options;
    std::vector<std::function<void()>> listeners; // fixed before the thread begins

    std::mutex mutex;
    std::condition_variable stopped;
    bool stopping = false;                  // guarded by the mutex
    std::map<std::uint64_t, Entry> entries; // guarded by the mutex
    std::uint64_t lastStream = 0;           // guarded by the mutex

    std::thread thread;

    // Of the thread.
    CertificateWatch watch;
    Clock::time_point nextKeepAlive;
    Clock::time_point nextLook;
    std::uint64_t lastEvent = 0;
    bool hasFailed = false; // and has said so
};
