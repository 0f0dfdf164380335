#include "tests/support/wire.h"

#include <hiredis/hiredis.h>
#include <hiredis/sds.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

std::string wireForm(const Command& command) {
    std::string bytes = "*" + std::to_string(command.size()) + "\r\n";
    for (const auto& word : command) {
        bytes += "$" + std::to_string(word.size()) + "\r\n" + word + "\r\n";
    }
    return bytes;
}

void WireReader::Release::operator()(redisReader* reader) const {
    redisReaderFree(reader);
}

void WireReader::Release::operator()(redisReply* reply) const {
    freeReplyObject(reply);
}

WireReader::WireReader() : mReader(redisReaderCreate()) {}

WireReader::~WireReader() = default;

void WireReader::feed(const std::string& bytes) {
    redisReaderFeed(mReader.get(), bytes.data(), bytes.size());
}

std::string WireReader::receive(int socket) {
    std::array<char, 16384> buffer{};
    const ssize_t count = read(socket, buffer.data(), buffer.size());
    std::string bytes(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    feed(bytes);
    return bytes;
}

bool WireReader::next() {
    void* value = nullptr;
    if (redisReaderGetReply(mReader.get(), &value) != REDIS_OK) {
        throw std::runtime_error(std::string("wire: ") + mReader->errstr);
    }
    mValue.reset(static_cast<redisReply*>(value));
    return mValue != nullptr;
}

Command WireReader::words() const {
    if (mValue->type != REDIS_REPLY_ARRAY) {
        throw std::runtime_error("wire: no command");
    }
    Command words;
    for (std::size_t i = 0; i < mValue->elements; ++i) {
        words.emplace_back(mValue->element[i]->str, mValue->element[i]->len);
    }
    return words;
}

bool sendAll(int socket, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

std::string askServer(int socket, const Command& command) {
    WireReader reader;
    std::string reply;
    if (!sendAll(socket, wireForm(command))) {
        return {};
    }
    while (!reader.next()) {
        const std::string part = reader.receive(socket);
        if (part.empty()) {
            return {};
        }
        reply += part;
    }
    return reply;
}

Commands pendingCommands(const redisContext* context) {
    return parseCommands(std::string(context->obuf, sdslen(context->obuf)));
}

Commands parseCommands(const std::string& text) {
    WireReader reader;
    reader.feed(text);
    Commands commands;
    std::string read;
    while (reader.next()) {
        commands.push_back(reader.words());
        read += wireForm(commands.back());
    }
    if (read != text) {
        throw std::runtime_error("wire: the text ends inside a command");
    }
    return commands;
}
