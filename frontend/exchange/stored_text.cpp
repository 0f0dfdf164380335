#include "frontend/exchange/stored_text.h"

#include "store/value_text.h"

#include <nlohmann/json.hpp>

std::string storedText(std::string_view text) {
    std::string stored = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            stored += '\\';
        }
        stored += character;
    }
    stored += '"';
    return stored;
}

nlohmann::json storedValue(std::string_view stored) {
    const bool mayBeJson = !stored.empty() && stored.front() != '{' && stored.front() != '[';
    if (mayBeJson) {
        nlohmann::json value = nlohmann::json::parse(stored, nullptr, false);
        if (!value.is_discarded()) {
            return value;
        }
    }
    return decodeValueText(stored);
}

std::string storedString(std::string_view stored) {
    const nlohmann::json value = storedValue(stored);
    return value.is_string() ? value.get<std::string>() : std::string();
}

bool isValidUtf8(std::string_view text) {
    try {
        (void)nlohmann::json(std::string(text)).dump();
        return true;
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

std::string printableText(std::string_view text) {
    constexpr const char* DIGITS = "0123456789abcdef";
    std::string printable;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '\n') {
            printable += "\\n";
        } else if (character == '\t') {
            printable += "\\t";
        } else if (byte < 0x20 || byte == 0x7f) {
            printable += "\\x";
            printable += DIGITS[byte >> 4U];
            printable += DIGITS[byte & 0xfU];
        } else {
            printable += character;
        }
    }
    return printable;
}
