#include "platform/certificate_backend/locked_directory.h"

#include "platform/certificate_backend/sha256.h"
#include "platform/posix/atomic_file.h"

#include <charconv>

namespace {

constexpr const char* INSTALLED = "installed";
constexpr const char* PREVIOUS = "previous";
constexpr const char* REQUESTS = "requests";
constexpr std::chrono::milliseconds PATIENCE(5000);
constexpr std::size_t LONGEST_NAME = 200; // leaves room for an ending within 255 bytes
constexpr std::size_t KEPT_OF_LONG_NAME = 100;
constexpr std::string_view HEX_DIGITS = "0123456789abcdef";

bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
}

std::string escaped(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return {'=', HEX_DIGITS[byte >> 4U], HEX_DIGITS[byte & 0x0fU]};
}

// Of two hexadecimal digits.
std::optional<char> escapedByte(std::string_view digits) {
    unsigned char byte = 0;
    const bool isByte =
        digits.size() >= 2 &&
        std::from_chars(digits.data(), digits.data() + 2, byte, 16).ptr == digits.data() + 2;
    return isByte ? std::optional(static_cast<char>(byte)) : std::nullopt;
}

Directory makeAndLock(const std::string& path) {
    Directory directory = openOrMakeDirectory(path);
    lockDirectory(directory, PATIENCE);
    keepToOwner(directory);
    return directory;
}

Directory ownFolder(const Directory& top, const char* name) {
    Directory folder = openOrMakeFolder(top, name);
    keepToOwner(folder);
    return folder;
}

} // namespace

LockedDirectory::LockedDirectory(const std::string& path)
    : mTop(makeAndLock(path)), mInstalled(ownFolder(mTop, INSTALLED)),
      mPrevious(ownFolder(mTop, PREVIOUS)), mRequests(ownFolder(mTop, REQUESTS)) {
    for (const Directory* folder : {&mInstalled, &mPrevious, &mRequests}) {
        removeLeftovers(*folder); // when all have been looked at
    }
}

std::string installedFolder(const std::string& directory) {
    return directory + "/" + INSTALLED;
}

std::string requestsFolder(const std::string& directory) {
    return directory + "/" + REQUESTS;
}

std::string fileNameOf(std::string_view uri) {
    std::string name;
    for (const char c : uri) {
        if (c == '/') {
            name += '+';
        } else if (isPlain(c)) {
            name += c;
        } else {
            name += escaped(c);
        }
        if (name.size() > LONGEST_NAME) {
            return name.substr(0, KEPT_OF_LONG_NAME) + '~' + sha256Hex(uri);
        }
    }
    return name;
}

std::optional<std::string> uriOfFileName(std::string_view name) {
    std::string uri;
    std::string_view rest = name;
    while (!rest.empty()) {
        if (rest.front() != '=') {
            uri += rest.front() == '+' ? '/' : rest.front();
            rest.remove_prefix(1);
            continue;
        }
        const std::optional<char> byte = escapedByte(rest.substr(1));
        if (!byte) {
            return std::nullopt;
        }
        uri += *byte;
        rest.remove_prefix(3);
    }
    return fileNameOf(uri) == name ? std::optional(uri) : std::nullopt;
}
