// The printed form of commands.

#include "tests/support/commands.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

bool plain(char c) {
    return c > ' ' && c < 0x7f && c != '"' && c != '\\';
}

std::string escaped(char c) {
    switch (c) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    default:
        break;
    }
    if (c >= ' ' && c < 0x7f) {
        return {c};
    }
    std::array<char, 5> text{};
    (void)std::snprintf(text.data(), text.size(), "\\x%02x", static_cast<unsigned>(c) & 0xffU);
    return text.data();
}

} // namespace

std::string describeText(const std::string& text) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), plain)) {
        return text;
    }
    std::string result = "\"";
    for (const char c : text) {
        result += escaped(c);
    }
    return result + "\"";
}

std::string describeCommands(const Commands& commands) {
    std::string result;
    for (const auto& command : commands) {
        for (std::size_t i = 0; i < command.size(); ++i) {
            result += (i == 0 ? "" : " ") + describeText(command[i]);
        }
        result += "\n";
    }
    return result;
}
