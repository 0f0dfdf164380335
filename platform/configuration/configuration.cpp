// Both functions of the interface read a value in the same way, so that they never disagree about a
// file. There is no state. A value that does not fit is refused, because half a path or half a
// number would be taken for the real one.

#include "platform/configuration.h"

#include "platform/configuration/parser.h"
#include "platform/posix/file_descriptor.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace {

constexpr std::size_t MAX_FILE_SIZE = std::size_t{1024} * 1024;

void report(const std::string& path, const std::string& what) {
    const std::string line = "service_configuration: " + path + ": " + what + "\n";
    static_cast<void>(std::fputs(line.c_str(), stderr)); // nowhere else to complain
}

std::nullopt_t unreadable(const std::string& path, const std::string& reason) {
    report(path, "cannot be read: " + reason);
    return std::nullopt;
}

std::nullopt_t unreadable(const std::string& path, int error) {
    return unreadable(path, std::generic_category().message(error));
}

std::optional<std::string> readAll(const FileDescriptor& file, const std::string& path) {
    std::string text;
    std::array<char, 4096> chunk{};
    ssize_t count = 0;
    do {
        count = readUpTo(file, chunk.data(), chunk.size());
        if (count < 0) {
            return unreadable(path, errno);
        }
        text.append(chunk.data(), static_cast<std::size_t>(count));
        if (text.size() > MAX_FILE_SIZE) {
            return unreadable(path, EFBIG);
        }
    } while (count == static_cast<ssize_t>(chunk.size()));
    return text;
}

// The file's bytes. That there is no such file is a normal state and goes unreported.
std::optional<std::string> readFile(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    const FileDescriptor file = openForReading(path);
    if (file.get() < 0) {
        return errno == ENOENT || errno == ENOTDIR ? std::nullopt : unreadable(path, errno);
    }
    if (!isRegularFile(file)) {
        return unreadable(path, "Not a regular file");
    }
    return readAll(file, path);
}

// The value of key when it and a terminating NUL fit into size characters.
std::optional<std::string> readValue(const std::string& path, std::string_view separator,
                                     const std::string& key, std::size_t size) {
    const auto text = readFile(path);
    const auto value = text ? findConfigValue(*text, separator, key) : std::nullopt;
    if (!value) {
        return std::nullopt;
    }
    if (value->find('\0') != std::string_view::npos) {
        report(path, "the value of " + key + " holds a NUL character and is ignored");
        return std::nullopt;
    }
    if (value->size() >= size) {
        report(path, "the value of " + key + " has " + std::to_string(value->size()) +
                         " characters, more than " + std::to_string(size - 1) + ", and is ignored");
        return std::nullopt;
    }
    return std::string(*value);
}

} // namespace

std::string getConfigValue(const std::string& path, const std::string& key, int maxLength) {
    if (maxLength < 1) {
        return {};
    }
    return readValue(path, "=", key, static_cast<std::size_t>(maxLength)).value_or("");
}

int getPropertyValue(const char* path, const char* separator, const char* key, char* buffer,
                     int bufferSize) {
    if (buffer == nullptr || bufferSize < 1) {
        return -1;
    }
    *buffer = '\0';
    if (path == nullptr || separator == nullptr || key == nullptr) {
        return -1;
    }
    const auto value = readValue(path, separator, key, static_cast<std::size_t>(bufferSize));
    if (!value) {
        return -1;
    }
    std::memcpy(buffer, value->c_str(), value->size() + 1);
    return 0;
}
