#include "store/value_text.h"

#include "store/store_log.h"

#include <nlohmann/json.hpp>

#include <algorithm>
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
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t escape = text.find('\\'); escape != std::string_view::npos;
         escape = text.find('\\')) {
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

// A string's JSON text when it is ASCII that needs no escapes but those of quote, backslash and
// line end; nothing for any other.
std::optional<std::string> plainStringText(std::string_view text) {
    const auto standsForItself = [](char character) {
        return character >= ' ' && character <= '~' && character != '"' && character != '\\';
    };
    std::string quoted = "\"";
    quoted.reserve(text.size() + text.size() / 32 + 2);
    while (true) {
        const auto* escape = std::find_if_not(text.begin(), text.end(), standsForItself);
        quoted.append(text.begin(), escape);
        if (escape == text.end()) {
            return quoted += '"';
        }
        if (*escape != '"' && *escape != '\\' && *escape != '\n') {
            return std::nullopt;
        }
        quoted += '\\';
        quoted += *escape == '\n' ? 'n' : *escape;
        text.remove_prefix(static_cast<std::size_t>(escape - text.begin()) + 1);
    }
}

// The scalars met most, as the JSON library writes them: it makes a serializer with buffers of its
// own for each, which costs more than the text.
std::optional<std::string> plainJsonText(const nlohmann::json& value) {
    switch (value.type()) {
    case nlohmann::json::value_t::string:
        return plainStringText(value.get_ref<const std::string&>());
    case nlohmann::json::value_t::boolean:
        return value.get<bool>() ? "true" : "false";
    case nlohmann::json::value_t::number_integer:
        return std::to_string(value.get<std::int64_t>());
    default:
        return std::nullopt;
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
    if (std::optional<std::string> text = plainJsonText(value)) {
        return *std::move(text);
    }
    try {
        return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
    } catch (const std::exception& failure) {
        logStoreError(std::string("Dump JSON object error. EXCEPTION=") + failure.what());
        return {};
    }
}

std::string quotedText(const std::string& text) {
    return '"' + text + '"';
}
