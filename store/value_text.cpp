#include "store/value_text.h"

#include "store/fraction_text.h"
#include "store/store_log.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <sstream>

namespace {

// What a standard stream skips before a number.
constexpr std::string_view STREAM_BLANKS = " \t\n\v\f\r";

bool isQuoted(std::string_view text) {
    return text.size() > 1 && text.front() == '"' && text.back() == '"';
}

std::string unquote(std::string_view text) {
    text = text.substr(1, text.size() - 2);
    std::size_t escape = text.find('\\');
    if (escape == std::string_view::npos) {
        return std::string(text);
    }
    std::string plain;
    plain.reserve(text.size());
    for (; escape != std::string_view::npos; escape = text.find('\\')) {
        plain += text.substr(0, escape);
        text.remove_prefix(escape + 1);
        // The character behind the backslash stands for itself, be it a backslash too.
        plain += text.substr(0, 1);
        text.remove_prefix(text.empty() ? 0 : 1);
    }
    plain += text;
    return plain;
}

std::optional<double> extractDouble(std::string_view text) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    const bool plainNumber =
        error == std::errc() && stop == end && text.back() >= '0' && text.back() <= '9';
    if (plainNumber) {
        return value;
    }
    // Anything out of the ordinary: what the stream itself says decides.
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    stream >> value;
    return stream.fail() ? std::nullopt : std::optional(value);
}

std::optional<std::int64_t> extractInteger(std::string_view text) {
    const std::size_t start = text.find_first_not_of(STREAM_BLANKS);
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(start);
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() ? std::optional(value) : std::nullopt;
}

// Which characters stand for themselves in JSON: printing ASCII but for quote and backslash.
constexpr auto PLAIN = [] {
    std::array<bool, 256> plain{};
    for (std::size_t character = ' '; character <= '~'; ++character) {
        plain[character] = character != '"' && character != '\\';
    }
    return plain;
}();

std::size_t plainLength(std::string_view text) {
    std::size_t length = 0;
    while (length < text.size() && PLAIN[static_cast<unsigned char>(text[length])]) {
        ++length;
    }
    return length;
}

// Makes text the string's JSON text when that is ASCII that needs no escapes but those of quote,
// backslash and line end. False for any other string.
bool setPlainStringText(std::string& text, std::string_view string) {
    text = '"';
    while (true) {
        const std::size_t plain = plainLength(string);
        text += string.substr(0, plain);
        if (plain == string.size()) {
            text += '"';
            return true;
        }
        const char escaped = string[plain];
        if (escaped != '"' && escaped != '\\' && escaped != '\n') {
            return false;
        }
        text += '\\';
        text += escaped == '\n' ? 'n' : escaped;
        string.remove_prefix(plain + 1);
    }
}

template <typename Number>
bool setNumberText(std::string& text, const nlohmann::json& value) {
    std::array<char, 24> digits{};
    auto* end = std::to_chars(digits.begin(), digits.end(), value.get<Number>()).ptr;
    text.assign(digits.begin(), end);
    return true;
}

// The scalars met most, as the JSON library writes them: it makes a serializer with buffers of its
// own for each, which costs more than the text. False for any other value.
bool setPlainJsonText(std::string& text, const nlohmann::json& value) {
    switch (value.type()) {
    case nlohmann::json::value_t::string:
        return setPlainStringText(text, value.get_ref<const std::string&>());
    case nlohmann::json::value_t::boolean:
        text = value.get<bool>() ? "true" : "false";
        return true;
    case nlohmann::json::value_t::number_integer:
        return setNumberText<std::int64_t>(text, value);
    case nlohmann::json::value_t::number_unsigned:
        return setNumberText<std::uint64_t>(text, value);
    case nlohmann::json::value_t::number_float:
        return setFractionText(text, value.get<double>());
    case nlohmann::json::value_t::null:
        text = "null";
        return true;
    default:
        return false;
    }
}

} // namespace

nlohmann::json decodeValueText(std::string_view text) {
    if (isQuoted(text)) {
        return unquote(text);
    }
    if (text == "true" || text == "false") {
        return text == "true";
    }
    if (text == "null") {
        return nullptr;
    }
    if (text.find('.') != std::string_view::npos) {
        if (const auto number = extractDouble(text)) {
            return *number;
        }
    } else if (const auto number = extractInteger(text)) {
        return *number;
    }
    return std::string(text);
}

std::string compactJsonText(const nlohmann::json& value) {
    std::string text;
    setJsonText(text, value);
    return text;
}

void setJsonText(std::string& text, const nlohmann::json& value) {
    if (setPlainJsonText(text, value)) {
        return;
    }
    text.clear();
    try {
        text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
    } catch (const std::exception& failure) {
        logStoreError(std::string("Dump JSON object error. EXCEPTION=") + failure.what());
    }
}

std::string quotedText(const std::string& text) {
    return '"' + text + '"';
}
