#include "platform/certificate_backend/locked_directory.h"

#include "platform/certificate_backend/sha256.h"
#include "platform/posix/atomic_file.h"

#include <utility>

namespace {

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

FileDescriptor makeAndLock(const std::string& path) {
    makeDirectory(path);
    return lockDirectory(path);
}

} // namespace

LockedDirectory::LockedDirectory(std::string path)
    : mPath(std::move(path)), mLock(makeAndLock(mPath)) {
    for (const std::string& folder : {installedFolder(mPath), requestsFolder(mPath)}) {
        makeDirectory(folder);
        removeInterruptedWrite(folder);
    }
}

std::string installedFolder(const std::string& directory) {
    return directory + "/installed";
}

std::string requestsFolder(const std::string& directory) {
    return directory + "/requests";
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
