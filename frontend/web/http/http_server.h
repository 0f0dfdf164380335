#pragma once

// HTTP/1.1 over TLS: connections, limits and threads (RFC 9110, RFC 9112).
//
// Connections wait for their clients without a thread; requests are answered on as many threads as
// the limits say. What is no HTTP, too large or too slow is refused here.

#include "frontend/web/http/http_message.h"
#include "frontend/web/http/tls_identity.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

struct ServerAddress {
    std::string host; // an IP address
    std::uint16_t port = 0;
};

struct ServerLimits {
    std::size_t bodyBytes = std::size_t{1024} * 1024;
    std::uint32_t headerBytes = std::uint32_t{32} * 1024;
    std::size_t connections = 1000;
    std::size_t answering = 64;       // requests that are answered at a time
    std::chrono::seconds silence{30}; // of a client, before its connection is closed
    std::chrono::seconds handshake{10};
};

// What the server asks of the program. Called on several threads at a time.
struct ServerCalls {
    // The context of a handshake that begins now.
    std::function<TlsContext()> context;
    // How long a request must wait before it is answered.
    std::function<std::chrono::milliseconds(const HttpRequest&)> delay;
    // The answer. Must not throw.
    std::function<HttpAnswer(const HttpRequest&)> answer;
    // The answer to what is no request, with its status and a text for the person. Must not throw.
    std::function<HttpAnswer(int status, const std::string& text)> unreadable;
};

class HttpServer {
public:
    // Listens at the address from then on. Throws std::runtime_error when that cannot be.
    HttpServer(const ServerAddress& address, const ServerLimits& limits, ServerCalls calls);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    ~HttpServer();

    // The port, also when the address named 0 for any free one.
    [[nodiscard]] std::uint16_t port() const;

    // Serves until stop() is called, on the caller's thread and others of its own.
    void run();

    // Ends run(): no more connections, the open ones are closed. Safe on any thread.
    void stop();

private:
    struct State;
    std::unique_ptr<State> state;
};
