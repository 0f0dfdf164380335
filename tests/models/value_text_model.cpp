#include "tests/models/value_text_model.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <sstream>

namespace {

std::string withoutBackslashes(const std::string& text) {
    std::string plain;
    bool escaped = false;
    for (const char c : text) {
        escaped = !escaped && c == '\\';
        if (!escaped) {
            plain += c;
        }
    }
    return plain;
}

template <typename Number>
nlohmann::json extracted(const std::string& text) {
    std::istringstream stream(text);
    Number number = 0;
    stream >> number;
    const bool isNumber = !stream.fail() && !stream.bad();
    return isNumber ? nlohmann::json(number) : nlohmann::json(text);
}

} // namespace

nlohmann::json decodeByStreams(const std::string& text) {
    const std::size_t size = text.size();
    if (size > 1 && text[0] == '"' && text[size - 1] == '"') {
        return withoutBackslashes(text.substr(1, size - 2));
    }
    if (text == "true" || text == "false") {
        return text == "true";
    }
    if (text == "null") {
        return nullptr;
    }
    const bool hasPoint = text.find('.') != std::string::npos;
    return hasPoint ? extracted<double>(text) : extracted<std::int64_t>(text);
}

std::string describeExactly(const nlohmann::json& value) {
    if (value.is_number_float()) {
        std::array<char, 64> bits{};
        (void)std::snprintf(bits.data(), bits.size(), "%a", value.get<double>());
        return std::string("double ") + bits.data();
    }
    return value.type_name() + std::string(value.is_number_unsigned() ? " unsigned " : " ") +
           (value.is_string() ? value.get<std::string>() : value.dump());
}
