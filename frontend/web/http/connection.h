#pragma once

// One client's connection, from its handshake to its end.

#include "frontend/web/http/http_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/thread_pool.hpp>

#include <cstddef>

// What the connections of a server share. Outlives them.
struct ServerState {
    ServerState(const ServerLimits& serverLimits, ServerCalls serverCalls)
        : limits(serverLimits), calls(std::move(serverCalls)), answering(serverLimits.answering) {}

    const ServerLimits limits;
    const ServerCalls calls;
    std::size_t connections = 0; // of the thread that runs the context
    boost::asio::io_context context{1};
    boost::asio::thread_pool answering;
};

// Serves the client until the connection ends. All of it happens on the thread that runs the
// context, the calls for answers apart.
void serveConnection(ServerState& server, boost::asio::ip::tcp::socket socket);
