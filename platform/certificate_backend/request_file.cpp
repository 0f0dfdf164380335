// What would end a line or begin a block is written as "%" and two hexadecimal digits.

#include "platform/certificate_backend/request_file.h"

#include "platform/certificate_backend/key_pair.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr std::string_view COLLECTION = "Collection: ";
constexpr std::string_view SUBJECT = "Subject: ";
constexpr std::string_view DATE = "Date: ";
constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";

bool isPlain(char c, char before) {
    return c > ' ' && c <= '~' && c != '%' && !(c == '-' && before == '-');
}

std::string escaped(std::string_view text) {
    std::string line;
    char before = '\0';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == ' ' || isPlain(c, before)) {
            line += c;
        } else {
            line += {'%', HEX_DIGITS[byte >> 4U], HEX_DIGITS[byte & 0x0fU]};
        }
        before = c;
    }
    return line;
}

std::string unescaped(std::string_view line) {
    std::string text;
    while (!line.empty()) {
        unsigned char byte = 0;
        const bool isEscape =
            line.front() == '%' && line.size() > 2 &&
            std::from_chars(line.data() + 1, line.data() + 3, byte, 16).ptr == line.data() + 3;
        text += isEscape ? static_cast<char>(byte) : line.front();
        line.remove_prefix(isEscape ? 3 : 1);
    }
    return text;
}

std::string lineAfter(std::string_view name, std::string_view content) {
    const std::size_t begin = content.find(name);
    if (begin == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = content.substr(begin + name.size());
    return unescaped(rest.substr(0, rest.find('\n')));
}

} // namespace

SecretText requestFileText(const RequestNote& note, EVP_PKEY* key) {
    std::string lines;
    for (const auto& [name, value] :
         {std::pair(COLLECTION, note.collectionUri), std::pair(SUBJECT, note.subject),
          std::pair(DATE, note.date)}) {
        lines += std::string(name) + escaped(value) + "\n";
    }
    return SecretText(lines) + privateKeyText(key);
}

RequestNote readRequestNote(std::string_view content) {
    const std::string_view lines = content.substr(0, content.find("-----BEGIN"));
    return {lineAfter(COLLECTION, lines), lineAfter(SUBJECT, lines), lineAfter(DATE, lines)};
}
