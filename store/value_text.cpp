#include "store/value_text.h"

#include "store/store_log.h"

#include <nlohmann/json.hpp>

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
    return plain += text;
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
    try {
        return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
    } catch (const std::exception& failure) {
        logStoreError(std::string("Dump JSON object error. EXCEPTION=") + failure.what());
        return {};
    }
}
