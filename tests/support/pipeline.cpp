// Reading what hiredis would send.

#include "tests/support/pipeline.h"

#include <hiredis/hiredis.h>
#include <hiredis/sds.h>

#include <stdexcept>

namespace {

class CommandReader {
public:
    explicit CommandReader(const std::string& text) : mText(text) {}

    [[nodiscard]] bool atEnd() const {
        return mPosition == mText.size();
    }

    Command next() {
        Command command;
        for (std::size_t count = number('*'); count > 0; --count) {
            const std::size_t length = number('$');
            command.push_back(take(length));
            lineEnd();
        }
        return command;
    }

private:
    std::string take(std::size_t length) {
        if (length > mText.size() - mPosition) {
            throw std::runtime_error("commands end inside a word");
        }
        mPosition += length;
        return mText.substr(mPosition - length, length);
    }

    void lineEnd() {
        if (take(2) != "\r\n") {
            throw std::runtime_error("no line end behind a word or number");
        }
    }

    std::size_t number(char mark) {
        if (take(1) != std::string(1, mark)) {
            throw std::runtime_error(std::string("no ") + mark + " where one must stand");
        }
        const auto end = mText.find('\r', mPosition);
        const std::string digits = take(end == std::string::npos ? end : end - mPosition);
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
            throw std::runtime_error("no number behind " + std::string(1, mark));
        }
        lineEnd();
        return std::stoul(digits);
    }

    const std::string& mText;
    std::size_t mPosition = 0;
};

} // namespace

Commands parseCommands(const std::string& text) {
    CommandReader reader(text);
    Commands commands;
    while (!reader.atEnd()) {
        commands.push_back(reader.next());
    }
    return commands;
}

Commands pendingCommands(const redisContext* context) {
    return parseCommands(std::string(context->obuf, sdslen(context->obuf)));
}
