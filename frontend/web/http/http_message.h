#pragma once

// A request and its answer as HTTP (RFC 9110) sees them.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Names and values in their order. Names are compared without regard to case.
using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

// The value of the first header of that name; nothing when there is none.
[[nodiscard]] std::optional<std::string_view> findHeader(const HttpHeaders& headers,
                                                         std::string_view name);

struct HttpRequest {
    std::string method; // "GET"; any token
    std::string path;   // of the request target, up to a "?", as it was sent
    std::string query;  // behind the "?"; empty: none
    HttpHeaders headers;
    std::string body; // may hold a private key; the server wipes it when the answer is made
    std::string peer; // the client's address
};

// An open event stream, as the one who feeds it sees it. Safe on any thread.
class EventSink {
public:
    EventSink() = default;
    EventSink(const EventSink&) = delete;
    EventSink& operator=(const EventSink&) = delete;
    virtual ~EventSink() = default;

    // Sends the text soon. Without effect once the stream has ended. A client that does not take
    // what is sent loses the stream.
    virtual void send(std::string text) = 0;

    // Ends the stream.
    virtual void end() = 0;
};

// Called when the stream has ended, on any thread.
using StreamEnd = std::function<void()>;

// Called when the head of an event stream has been sent; what it returns is called at the end.
using StreamStart = std::function<StreamEnd(std::shared_ptr<EventSink>)>;

struct HttpAnswer {
    int status = 200;
    HttpHeaders headers; // without Content-Length, Connection and Date, which the server adds
    std::string body;    // left out when the request is a HEAD, its length is not
    StreamStart stream;  // for an event stream, which then follows the head; empty: none
};
