#include "frontend/exchange/stored_text.h"

#include "store/value_text.h"

#include <nlohmann/json.hpp>

std::string storedText(std::string_view text) {
    std::string stored;
    stored.reserve(2 * text.size() + 2); // never grows: that would leave copies of a secret behind
    stored += '"';
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
