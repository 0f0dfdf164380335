#include "frontend/web/http/http_server.h"

#include "frontend/web/http/connection.h"

#include <boost/asio/steady_timer.hpp>

#include <stdexcept>

namespace {

namespace asio = boost::asio;
using Error = boost::system::error_code;

// Without descriptors for more connections, the next try is made after this time.
constexpr std::chrono::milliseconds ACCEPT_PAUSE{100};

asio::ip::tcp::endpoint endpointOf(const ServerAddress& address) {
    Error error;
    const auto host = asio::ip::make_address(address.host, error);
    if (error) {
        throw std::runtime_error("\"" + address.host + "\" is no IP address.");
    }
    return {host, address.port};
}

std::string shown(const ServerAddress& address) {
    return address.host + " port " + std::to_string(address.port);
}

} // namespace

struct HttpServer::State {
    State(const ServerAddress& address, const ServerLimits& limits, ServerCalls calls)
        : shared(limits, std::move(calls)), acceptor(shared.context), pause(shared.context) {
        listen(address);
        accept();
    }

    void listen(const ServerAddress& address) {
        const auto endpoint = endpointOf(address);
        try {
            acceptor.open(endpoint.protocol());
            acceptor.set_option(asio::socket_base::reuse_address(true));
            acceptor.bind(endpoint);
            acceptor.listen();
        } catch (const boost::system::system_error& error) {
            throw std::runtime_error("Cannot listen at " + shown(address) + ": " +
                                     error.code().message() + ".");
        }
    }

    void accept() {
        acceptor.async_accept([this](Error error, asio::ip::tcp::socket socket) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            if (error) {
                return acceptLater();
            }
            if (shared.connections < shared.limits.connections) {
                serve(std::move(socket));
            }
            accept();
        });
    }

    void serve(asio::ip::tcp::socket socket) {
        Error ignored;
        socket.set_option(asio::ip::tcp::no_delay(true), ignored);
        serveConnection(shared, std::move(socket));
    }

    void acceptLater() {
        pause.expires_after(ACCEPT_PAUSE);
        pause.async_wait([this](Error error) {
            if (!error) {
                accept();
            }
        });
    }

    ServerState shared;
    asio::ip::tcp::acceptor acceptor;
    asio::steady_timer pause;
};

HttpServer::HttpServer(const ServerAddress& address, const ServerLimits& limits, ServerCalls calls)
    : state(std::make_unique<State>(address, limits, std::move(calls))) {}

HttpServer::~HttpServer() {
    state->shared.answering.join();
}

std::uint16_t HttpServer::port() const {
    return state->acceptor.local_endpoint().port();
}

void HttpServer::run() {
    state->shared.context.run();
    state->shared.answering.join();
}

void HttpServer::stop() {
    state->shared.context.stop();
}
