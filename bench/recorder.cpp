// hiredis writes a whole exchange with one call. A small one arrives in one piece; of a large one
// the pieces follow each other at once, so a short silence after a complete command is its end.

#include "bench/recorder.h"

#include "bench/connection.h"
#include "platform/posix/file_descriptor.h"
#include "tests/support/wire.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

constexpr std::size_t ONE_PIECE = 4096; // bytes that a Unix socket passes on undivided
constexpr int SILENCE_MILLISECONDS = 5;
constexpr std::size_t READ_SIZE = std::size_t{256} * 1024;

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("socket path too long: " + path);
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

// Whether more comes within a short time.
bool hasMore(int descriptor) {
    pollfd ready{descriptor, POLLIN, 0};
    return poll(&ready, 1, SILENCE_MILLISECONDS) > 0;
}

// Appends what is there. False when the other side has closed.
bool receive(int descriptor, std::string& bytes) {
    const std::size_t before = bytes.size();
    bytes.resize(before + READ_SIZE);
    const ssize_t count = read(descriptor, bytes.data() + before, READ_SIZE);
    bytes.resize(before + static_cast<std::size_t>(count > 0 ? count : 0));
    return count > 0;
}

// Everything that the client sends before it waits. False when it has closed.
bool receiveExchange(int client, Exchange& exchange) {
    std::size_t counted = 0; // size at which the commands were last counted
    while (receive(client, exchange.bytes)) {
        const bool mayHaveMore = exchange.bytes.size() > ONE_PIECE;
        if (mayHaveMore && hasMore(client)) {
            continue;
        }
        if (counted == exchange.bytes.size()) {
            continue;
        }
        counted = exchange.bytes.size();
        const auto commands = countCommands(exchange.bytes);
        if (commands) {
            exchange.replies = *commands;
            return true;
        }
    }
    return false;
}

} // namespace

struct Recorder::State {
    // A client and the connection to the server that is its own; both empty once they are closed.
    struct Link {
        std::optional<FileDescriptor> client;
        BenchConnection server;
        Exchanges recorded;
    };

    State(std::string ownPath, std::string serverSocketPath)
        : path(std::move(ownPath)), serverPath(std::move(serverSocketPath)),
          listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}

    std::string path;
    std::string serverPath;
    FileDescriptor listener;
    std::atomic<bool> ending = false;
    mutable std::mutex mutex; // guards the links' recorded exchanges and their number
    std::deque<Link> links;   // in the order in which the clients came
    std::thread thread;

    void acceptClient() {
        FileDescriptor client(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const std::lock_guard<std::mutex> guard(mutex);
        links.push_back({std::move(client), connectTo(serverPath), {}});
    }

    // False at the connection's end.
    bool passToServer(Link& link) {
        Exchange exchange;
        if (!receiveExchange(link.client->get(), exchange)) {
            return false;
        }
        const std::lock_guard<std::mutex> guard(mutex);
        link.recorded.push_back(exchange);
        return sendAll(link.server->fd, exchange.bytes);
    }

    static bool passToClient(const Link& link) {
        std::string reply;
        return receive(link.server->fd, reply) && sendAll(link.client->get(), reply);
    }

    // A link that has ended stays in its place, closed, with what was recorded.
    void serve(Link& link, bool fromClient, bool fromServer) {
        if ((fromServer && !passToClient(link)) || (fromClient && !passToServer(link))) {
            link.client.reset();
            link.server.reset();
        }
    }

    void run() {
        while (!ending) {
            std::vector<pollfd> ready = {{listener.get(), POLLIN, 0}};
            for (const Link& link : links) {
                // -1 is passed over.
                ready.push_back({link.client ? link.client->get() : -1, POLLIN, 0});
                ready.push_back({link.server ? link.server->fd : -1, POLLIN, 0});
            }
            (void)poll(ready.data(), ready.size(), SILENCE_MILLISECONDS);
            for (std::size_t i = 0; i < links.size(); ++i) {
                serve(links[i], ready[1 + 2 * i].revents != 0, ready[2 + 2 * i].revents != 0);
            }
            if (ready[0].revents != 0) {
                acceptClient();
            }
        }
    }
};

Recorder::Recorder(const std::string& socketPath, const std::string& serverSocketPath)
    : mState(std::make_unique<State>(socketPath, serverSocketPath)) {
    const sockaddr_un address = addressOf(socketPath);
    if (bind(mState->listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
            0 ||
        listen(mState->listener.get(), SOMAXCONN) != 0) {
        throw std::runtime_error("cannot listen on " + socketPath);
    }
    mState->thread = std::thread([state = mState.get()] { state->run(); });
}

Recorder::~Recorder() {
    (void)unlink(mState->path.c_str());
    mState->ending = true;
    mState->thread.join();
}

std::vector<Exchanges> Recorder::connections() const {
    const std::lock_guard<std::mutex> guard(mState->mutex);
    std::vector<Exchanges> recorded;
    for (const State::Link& link : mState->links) {
        recorded.push_back(link.recorded);
    }
    return recorded;
}

Exchanges Recorder::since(const std::vector<Exchanges>& earlier) const {
    Exchanges result;
    const std::vector<Exchanges> now = connections();
    for (std::size_t i = 0; i < now.size(); ++i) {
        const std::size_t known = i < earlier.size() ? earlier[i].size() : 0;
        result.insert(result.end(), now[i].begin() + static_cast<std::ptrdiff_t>(known),
                      now[i].end());
    }
    return result;
}
