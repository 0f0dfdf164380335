#include "tests/faults/fault_proxy.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

sockaddr_un unixAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

int openSocket() {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        throw std::runtime_error("fault proxy: no socket");
    }
    return fd;
}

// A buffered, blocking stream over one socket. Every function throws std::runtime_error at its end.
class Stream {
public:
    explicit Stream(int fd) : mFd(fd) {}

    std::string line() {
        std::size_t end = 0;
        while ((end = mBuffer.find("\r\n")) == std::string::npos) {
            fill();
        }
        return take(end + 2);
    }

    std::string bytes(std::size_t count) {
        while (mBuffer.size() < count) {
            fill();
        }
        return take(count);
    }

    std::string pending() {
        return take(mBuffer.size());
    }

    void send(const std::string& text) const {
        std::size_t sent = 0;
        while (sent < text.size()) {
            const ssize_t count = ::send(mFd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) {
                throw std::runtime_error("fault proxy: closed");
            }
            sent += static_cast<std::size_t>(count);
        }
    }

private:
    std::string take(std::size_t count) {
        std::string taken = mBuffer.substr(0, count);
        mBuffer.erase(0, count);
        return taken;
    }

    void fill() {
        char chunk[65536];
        const ssize_t count = ::recv(mFd, chunk, sizeof chunk, 0);
        if (count <= 0) {
            throw std::runtime_error("fault proxy: closed");
        }
        mBuffer.append(chunk, static_cast<std::size_t>(count));
    }

    int mFd;
    std::string mBuffer;
};

struct Command {
    std::string raw;
    std::vector<std::string> words;
};

Command readCommand(Stream& client) {
    Command command;
    command.raw = client.line();
    const int count = std::stoi(command.raw.substr(1));
    for (int i = 0; i < count; ++i) {
        const std::string header = client.line();
        const std::string body = client.bytes(std::stoul(header.substr(1)) + 2);
        command.raw += header + body;
        command.words.push_back(body.substr(0, body.size() - 2));
    }
    return command;
}

// One reply, whole, as it stands on the wire.
std::string readReply(Stream& server) {
    std::string reply;
    for (long outstanding = 1; outstanding > 0; --outstanding) {
        const std::string header = server.line();
        reply += header;
        const long length = std::strtol(header.c_str() + 1, nullptr, 10);
        if (header[0] == '$' && length >= 0) {
            reply += server.bytes(static_cast<std::size_t>(length) + 2);
        } else if (header[0] == '*' && length > 0) {
            outstanding += length;
        }
    }
    return reply;
}

bool isSubscription(const Command& command) {
    return command.words[0] == "SUBSCRIBE";
}

bool forward(int from, int to) {
    char chunk[65536];
    const ssize_t count = ::recv(from, chunk, sizeof chunk, 0);
    return count > 0 && ::send(to, chunk, static_cast<std::size_t>(count), MSG_NOSIGNAL) == count;
}

void passThrough(int client, int server) {
    pollfd ends[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
    while (poll(ends, 2, -1) > 0) {
        if ((ends[0].revents != 0 && !forward(client, server)) ||
            (ends[1].revents != 0 && !forward(server, client))) {
            return;
        }
    }
}

} // namespace

FaultProxy::FaultProxy(std::string serverPath, std::string listenPath)
    : mServerPath(std::move(serverPath)), mListener(openSocket()) {
    const sockaddr_un address = unixAddress(listenPath);
    (void)unlink(listenPath.c_str());
    if (bind(mListener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(mListener, SOMAXCONN) != 0) {
        throw std::runtime_error("fault proxy: cannot listen on " + listenPath);
    }
    mAcceptor = std::thread([this] { acceptClients(); });
}

FaultProxy::~FaultProxy() {
    mStopping = true;
    (void)shutdown(mListener, SHUT_RDWR);
    mAcceptor.join();
    {
        const std::lock_guard guard(mMutex);
        for (const int fd : mSockets) {
            (void)shutdown(fd, SHUT_RDWR);
        }
    }
    for (std::thread& servant : mServants) {
        servant.join();
    }
    (void)close(mListener);
}

void FaultProxy::setPlan(const FaultPlan& plan) {
    const std::lock_guard guard(mMutex);
    mPlan = plan;
    mCommands.clear();
    mCounted = 0;
}

std::vector<ProxiedCommand> FaultProxy::commands() {
    const std::lock_guard guard(mMutex);
    return mCommands;
}

void FaultProxy::acceptClients() {
    while (!mStopping) {
        const int client = accept(mListener, nullptr, nullptr);
        if (client < 0) {
            return;
        }
        const std::lock_guard guard(mMutex);
        mSockets.push_back(client);
        const int connection = ++mConnections;
        mServants.emplace_back([this, client, connection] { serve(client, connection); });
    }
}

// The fault that the command is to suffer.
FaultPlan FaultProxy::record(const ProxiedCommand& command) {
    const std::lock_guard guard(mMutex);
    mCommands.push_back(command);
    if (mPlan.connection != 0 && mPlan.connection != command.connection) {
        return {};
    }
    return mCounted++ == mPlan.command ? mPlan : FaultPlan{};
}

void FaultProxy::serve(int client, int connection) {
    const int server = openSocket();
    const sockaddr_un address = unixAddress(mServerPath);
    try {
        if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("fault proxy: the server is not there");
        }
        {
            const std::lock_guard guard(mMutex);
            mSockets.push_back(server);
        }
        Stream clientStream(client);
        Stream serverStream(server);
        for (;;) {
            const Command command = readCommand(clientStream);
            if (isSubscription(command)) {
                serverStream.send(command.raw);
                passThrough(client, server);
                break;
            }
            const FaultPlan fault = record({connection, command.words});
            if (fault.kind == FaultKind::CUT) {
                break;
            }
            if (fault.kind == FaultKind::ERROR_REPLY) {
                clientStream.send("-" + fault.error + "\r\n");
                continue;
            }
            serverStream.send(command.raw);
            const std::string reply = readReply(serverStream);
            if (fault.kind == FaultKind::CUT_REPLY) {
                break;
            }
            clientStream.send(reply);
        }
    } catch (const std::exception&) {
        // One of the two has gone: so does the other.
    }
    const std::lock_guard guard(mMutex);
    for (const int fd : {client, server}) {
        std::erase(mSockets, fd);
        (void)close(fd);
    }
}
