// hiredis writes a whole exchange with one call. A small one arrives in one piece; of a large one
// the pieces follow each other at once, so a short silence after a complete command is its end.

#include "bench/recorder.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::size_t ONE_PIECE = 4096; // bytes that a Unix socket passes on undivided
constexpr int SILENCE_MILLISECONDS = 5;
constexpr std::size_t READ_SIZE = std::size_t{256} * 1024;

class Descriptor {
public:
    explicit Descriptor(int descriptor) : mDescriptor(descriptor) {
        if (descriptor < 0) {
            throw std::runtime_error("the recorder gets no socket");
        }
    }
    ~Descriptor() {
        close(mDescriptor);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int get() const {
        return mDescriptor;
    }

private:
    int mDescriptor;
};

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("socket path too long: " + path);
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

bool waitReadable(int descriptor, int milliseconds) {
    pollfd ready{descriptor, POLLIN, 0};
    return poll(&ready, 1, milliseconds) > 0;
}

// Appends what is there. False when the other side has closed.
bool receive(int descriptor, std::string& bytes) {
    const std::size_t before = bytes.size();
    bytes.resize(before + READ_SIZE);
    const ssize_t count = read(descriptor, bytes.data() + before, READ_SIZE);
    bytes.resize(before + static_cast<std::size_t>(count > 0 ? count : 0));
    return count > 0;
}

bool sendAll(int descriptor, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            send(descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

// Everything that the client sends before it waits. False when it has closed.
bool receiveExchange(int client, Exchange& exchange) {
    std::size_t counted = 0; // size at which the commands were last counted
    while (receive(client, exchange.bytes)) {
        const bool more = exchange.bytes.size() > ONE_PIECE;
        if (more && waitReadable(client, SILENCE_MILLISECONDS)) {
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
    State(std::string ownPath, std::string serverSocketPath)
        : path(std::move(ownPath)), serverPath(std::move(serverSocketPath)),
          listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}

    std::string path;
    std::string serverPath;
    Descriptor listener;
    std::atomic<bool> ending = false;
    mutable std::mutex mutex;        // guards what follows
    std::vector<Exchanges> recorded; // by connection
    std::vector<std::thread> threads;
    std::thread acceptor;

    void add(std::size_t connection, const Exchange& exchange) {
        const std::lock_guard<std::mutex> guard(mutex);
        recorded[connection].push_back(exchange);
    }

    // Passes one piece on, in whichever direction there is one. False at the connection's end.
    bool passOn(std::size_t connection, int client, int server) {
        std::array<pollfd, 2> ready{{{client, POLLIN, 0}, {server, POLLIN, 0}}};
        if (poll(ready.data(), ready.size(), SILENCE_MILLISECONDS) < 0) {
            return false;
        }
        std::string reply;
        if (ready[1].revents != 0 && (!receive(server, reply) || !sendAll(client, reply))) {
            return false;
        }
        if (ready[0].revents == 0) {
            return true;
        }
        Exchange exchange;
        if (!receiveExchange(client, exchange)) {
            return false;
        }
        add(connection, exchange);
        return sendAll(server, exchange.bytes);
    }

    void serve(std::size_t connection, int clientDescriptor) {
        const Descriptor client(clientDescriptor);
        const Descriptor server(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const sockaddr_un address = addressOf(serverPath);
        if (connect(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
            0) {
            return;
        }
        while (!ending && passOn(connection, client.get(), server.get())) {
        }
    }

    void acceptConnections() {
        while (!ending) {
            if (!waitReadable(listener.get(), SILENCE_MILLISECONDS)) {
                continue;
            }
            const int client = accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0) {
                continue;
            }
            const std::lock_guard<std::mutex> guard(mutex);
            const std::size_t connection = recorded.size();
            recorded.emplace_back();
            threads.emplace_back([this, connection, client] { serve(connection, client); });
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
    mState->acceptor = std::thread([state = mState.get()] { state->acceptConnections(); });
}

Recorder::~Recorder() {
    (void)unlink(mState->path.c_str());
    mState->ending = true;
    mState->acceptor.join();
    for (std::thread& thread : mState->threads) {
        thread.join();
    }
}

std::vector<Exchanges> Recorder::connections() const {
    const std::lock_guard<std::mutex> guard(mState->mutex);
    return mState->recorded;
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
