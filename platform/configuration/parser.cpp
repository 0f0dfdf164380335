#include "platform/configuration/parser.h"

namespace {

constexpr std::string_view BLANKS = " \t\r\v\f";
// Some editors begin UTF-8 files with it.
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) {
        return text.substr(0, 0);
    }
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

// Cuts the first line off text and returns it without its line feed.
std::string_view takeLine(std::string_view& text) {
    const auto end = text.find('\n');
    const auto line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

std::optional<std::string_view> valueInLine(std::string_view line, std::string_view separator,
                                            std::string_view key) {
    const auto setting = trim(line);
    const auto position = setting.find(separator);
    if (setting.starts_with('#') || position == std::string_view::npos ||
        trim(setting.substr(0, position)) != key) {
        return std::nullopt;
    }
    return trim(setting.substr(position + separator.size()));
}

} // namespace

std::optional<std::string_view> findConfigValue(std::string_view text, std::string_view separator,
                                                std::string_view key) {
    if (separator.empty() || key.empty()) {
        return std::nullopt;
    }
    if (text.starts_with(BYTE_ORDER_MARK)) {
        text.remove_prefix(BYTE_ORDER_MARK.size());
    }
    while (!text.empty()) {
        if (const auto value = valueInLine(takeLine(text), separator, key)) {
            return value;
        }
    }
    return std::nullopt;
}
