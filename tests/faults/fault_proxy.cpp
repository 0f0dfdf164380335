#include "tests/faults/fault_proxy.h"

#include "tests/support/wire.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
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

// Hands on what the server sends, until the client closes.
void passOn(int server, int client) {
    pollfd ends[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
    while (poll(ends, 2, -1) > 0 && ends[0].revents == 0) {
        char bytes[4096];
        const ssize_t count = recv(server, bytes, sizeof bytes, 0);
        if (count <= 0 || !sendAll(client, {bytes, static_cast<std::size_t>(count)})) {
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
    const bool isConnected =
        connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    {
        const std::lock_guard guard(mMutex);
        mSockets.push_back(server);
    }
    WireReader reader;
    bool isOpen = isConnected;
    while (isOpen && !reader.receive(client).empty()) {
        while (isOpen && reader.next()) {
            isOpen = answer(client, server, {connection, reader.words()});
        }
    }
    const std::lock_guard guard(mMutex);
    for (const int fd : {client, server}) {
        std::erase(mSockets, fd);
        (void)close(fd);
    }
}

// False when the connection is to be closed.
bool FaultProxy::answer(int client, int server, const ProxiedCommand& command) {
    if (command.words[0] == "SUBSCRIBE") {
        if (sendAll(client, askServer(server, command.words))) {
            passOn(server, client);
        }
        return false;
    }
    const FaultPlan fault = record(command);
    if (fault.kind == FaultKind::CUT) {
        return false;
    }
    if (fault.kind == FaultKind::ERROR_REPLY) {
        return sendAll(client, "-" + fault.error + "\r\n");
    }
    const std::string reply = askServer(server, command.words);
    return !reply.empty() && fault.kind != FaultKind::CUT_REPLY && sendAll(client, reply);
}
