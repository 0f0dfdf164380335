#pragma once

// An event stream without a client.

#include "frontend/web/service/event_streams.h"

#include <memory>
#include <mutex>
#include <string>

// Keeps what it is sent.
class KeptStream : public EventSink {
public:
    void send(std::string text) override {
        const std::lock_guard lock(mutex);
        sent += text;
    }

    void end() override {
        const std::lock_guard lock(mutex);
        ended = true;
    }

    std::string text() {
        const std::lock_guard lock(mutex);
        return sent;
    }

    bool hasEnded() {
        const std::lock_guard lock(mutex);
        return ended;
    }

private:
    std::mutex mutex;
    std::string sent;
    bool ended = false;
};

// A stream as the server holds it.
struct OpenStream {
    explicit OpenStream(EventStreams& streams, const StreamClient& client = {"192.0.2.1", ""})
        : end(streams.streamFor(client)(kept)) {}

    std::shared_ptr<KeptStream> kept = std::make_shared<KeptStream>();
    StreamEnd end;
};
