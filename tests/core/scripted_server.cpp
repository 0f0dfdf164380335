// One thread that serves one connection.

#include "tests/core/scripted_server.h"

#include "tests/support/wire.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <stdexcept>

namespace {

int listenAt(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the sockets' own interface
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    if (listener < 0 || ::bind(listener, generic, sizeof address) != 0 ||
        ::listen(listener, 1) != 0) {
        throw std::runtime_error("the scripted server cannot listen");
    }
    return listener;
}

bool isWhole(const std::string& text) {
    try {
        return !parseCommands(text).empty();
    } catch (const std::runtime_error&) {
        return false;
    }
}

} // namespace

ScriptedServer::ScriptedServer(std::vector<std::string> answers)
    : mAnswers(std::move(answers)), mListener(listenAt(socketPath())),
      mServant([this] { serve(); }) {}

ScriptedServer::~ScriptedServer() {
    (void)::shutdown(mListener, SHUT_RDWR); // wakes a servant that no client ever called
    if (mServant.joinable()) {
        mServant.join();
    }
    (void)::close(mListener);
}

std::string ScriptedServer::socketPath() const {
    return mDirectory.file("scripted.sock");
}

Commands ScriptedServer::received() {
    if (mServant.joinable()) {
        mServant.join();
    }
    return mReceived;
}

void ScriptedServer::serve() {
    const int client = ::accept(mListener, nullptr, nullptr);
    (void)::unlink(socketPath().c_str());
    if (client < 0) {
        return;
    }
    for (const auto& answer : mAnswers) {
        if (!readCommand(client)) {
            break;
        }
        (void)::send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
    (void)::shutdown(client, SHUT_WR);
    std::array<char, 1024> rest{};
    while (::read(client, rest.data(), rest.size()) > 0) {
    }
    (void)::close(client);
}

bool ScriptedServer::readCommand(int client) {
    std::string text;
    while (!isWhole(text)) {
        std::array<char, 1024> chunk{};
        const auto count = ::read(client, chunk.data(), chunk.size());
        if (count <= 0) {
            return false;
        }
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    for (auto& command : parseCommands(text)) {
        mReceived.push_back(std::move(command));
    }
    return true;
}
