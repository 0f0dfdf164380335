#include "bench/exchange.h"

#include "tests/support/wire.h"

#include <charconv>
#include <stdexcept>

namespace {

constexpr std::string_view LINE_END = "\r\n";

// Takes a line "<label><number>\r\n" from the front of the text.
std::optional<std::size_t> takeNumber(std::string_view& text, char label) {
    const std::size_t end = text.find(LINE_END);
    if (end == std::string_view::npos || text.front() != label) {
        return std::nullopt;
    }
    std::size_t number = 0;
    const auto parsed = std::from_chars(text.data() + 1, text.data() + end, number);
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + end) {
        return std::nullopt;
    }
    text.remove_prefix(end + LINE_END.size());
    return number;
}

std::optional<std::string_view> takeWord(std::string_view& text) {
    const auto length = takeNumber(text, '$');
    if (!length || text.size() < *length + LINE_END.size()) {
        return std::nullopt;
    }
    const std::string_view word = text.substr(0, *length);
    text.remove_prefix(*length + LINE_END.size());
    return word;
}

bool skipCommand(std::string_view& text) {
    const auto words = takeNumber(text, '*');
    for (std::size_t i = 0; words && i < *words; ++i) {
        if (!takeWord(text)) {
            return false;
        }
    }
    return words.has_value();
}

void append(redisContext* context, const Exchange& exchange) {
    if (redisAppendFormattedCommand(context, exchange.bytes.data(), exchange.bytes.size()) !=
        REDIS_OK) {
        throw std::runtime_error("a replayed exchange cannot be written");
    }
}

} // namespace

std::optional<std::size_t> countCommands(std::string_view bytes) {
    std::size_t commands = 0;
    while (!bytes.empty()) {
        if (!skipCommand(bytes)) {
            return std::nullopt;
        }
        ++commands;
    }
    return commands;
}

std::string firstCommandName(const Exchange& exchange) {
    std::string_view text = exchange.bytes;
    if (!takeNumber(text, '*')) {
        return {};
    }
    return std::string(takeWord(text).value_or(std::string_view()));
}

Exchange makeExchange(const Commands& commands) {
    Exchange exchange;
    for (const Command& command : commands) {
        exchange.bytes += wireForm(command);
        ++exchange.replies;
    }
    return exchange;
}

BenchReply takeReply(redisContext* context) {
    void* reply = nullptr;
    if (redisGetReply(context, &reply) != REDIS_OK) {
        throw std::runtime_error(std::string("no reply: ") + context->errstr);
    }
    return BenchReply(static_cast<redisReply*>(reply));
}

BenchReply ask(redisContext* context, const Command& command) {
    append(context, makeExchange({command}));
    return takeReply(context);
}

void replay(redisContext* context, const Exchange& exchange) {
    append(context, exchange);
    for (std::size_t i = 0; i < exchange.replies; ++i) {
        (void)takeReply(context);
    }
}

void replay(redisContext* context, const Exchanges& exchanges) {
    for (const Exchange& exchange : exchanges) {
        replay(context, exchange);
    }
}
