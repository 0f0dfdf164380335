// Configuration files. Properties:
// - The parser finds the value that reading the file line by line with a standard stream finds, and
//   the value lies in the text.
// - Read from a file, a value is handed over whole or not at all, never written past the buffer's
//   end, and a value that holds a NUL counts as not there.

#include "fuzz/input.h"
#include "fuzz/property.h"
#include "platform/configuration.h"
#include "platform/configuration/parser.h"
#include "tests/support/temp_files.h"

#include <array>
#include <memory>
#include <sstream>

namespace {

constexpr const char* FILE_NAME = "/tmp/fuzz.conf";
constexpr std::array<std::string_view, 6> KEYS = {"LOG_FILE", "a", "LOG_LEVEL", "a b", "", "#a"};
constexpr std::array<std::string_view, 6> SEPARATORS = {"=", "=", ":", "==", " ", ""};

std::string stripped(std::string text) {
    const auto isBlank = [](char c) {
        return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
    };
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    while (!text.empty() && isBlank(text.front())) {
        text.erase(0, 1);
    }
    return text;
}

std::optional<std::string> modelValue(const std::string& text, const std::string& separator,
                                      const std::string& key) {
    if (separator.empty() || key.empty()) {
        return std::nullopt;
    }
    std::istringstream stream(text.rfind("\xEF\xBB\xBF", 0) == 0 ? text.substr(3) : text);
    std::string line;
    while (std::getline(stream, line)) {
        line = stripped(line);
        const std::size_t position = line.find(separator);
        if (!line.empty() && line.front() != '#' && position != std::string::npos &&
            stripped(line.substr(0, position)) == key) {
            return stripped(line.substr(position + separator.size()));
        }
    }
    return std::nullopt;
}

std::string describe(const std::optional<std::string>& value) {
    return value ? "value " + *value : "nothing";
}

void checkParser(const std::string& text, const std::string& separator, const std::string& key) {
    const std::optional<std::string_view> value = findConfigValue(text, separator, key);
    require(!value || value->empty() ||
                (value->data() >= text.data() &&
                 value->data() + value->size() <= text.data() + text.size()),
            "a value lies in the text");
    requireSame(describe(value ? std::optional<std::string>(*value) : std::nullopt),
                describe(modelValue(text, separator, key)),
                "the value that reading line by line finds");
}

std::optional<std::string> fittingValue(std::optional<std::string> value, int room) {
    const bool fits = value && value->find('\0') == std::string::npos && room > 0 &&
                      value->size() < static_cast<std::size_t>(room);
    return fits ? std::move(value) : std::nullopt;
}

void checkFile(const std::string& text, const std::string& separator, const std::string& key,
               int room) {
    writeFile(FILE_NAME, text);
    requireSame(getConfigValue(FILE_NAME, key, room),
                fittingValue(modelValue(text, "=", key), room).value_or(""),
                "a value that fits is handed over");
    // On the heap, where writing past the end is seen.
    const auto size = static_cast<std::size_t>(room > 0 ? room : 0);
    const std::unique_ptr<char[]> buffer(new char[size + (size == 0 ? 1 : 0)]{'x'});
    const int result =
        getPropertyValue(FILE_NAME, separator.c_str(), key.c_str(), buffer.get(), room);
    const std::optional<std::string> expected =
        fittingValue(modelValue(text, separator, key), room);
    require((result == 0) == expected.has_value(), "a property that fits is found");
    if (room > 0) {
        requireSame(buffer.get(), expected.value_or(""), "a property is copied");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::string separator = input.pick(SEPARATORS);
    const std::string key = input.pick(KEYS);
    const int room = static_cast<int>(input.choose(40)) - 1;
    const std::string text = input.rest();
    checkParser(text, separator, key);
    checkFile(text, separator, key, room);
    return 0;
}
