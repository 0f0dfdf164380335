#include "platform/certificate_backend/locked_directory.h"

#include "platform/certificate_backend/sha256.h"
#include "platform/posix/atomic_file.h"

namespace {

constexpr const char* INSTALLED = "installed";
constexpr const char* REQUESTS = "requests";
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

Directory makeAndLock(const std::string& path) {
    Directory directory = openOrMakeDirectory(path);
    lockDirectory(directory);
    return directory;
}

Directory folderWithoutLeftovers(const Directory& top, const char* name) {
    Directory folder = openOrMakeFolder(top, name);
    removeInterruptedWrite(folder);
    return folder;
}

} // namespace

LockedDirectory::LockedDirectory(const std::string& path)
    : mTop(makeAndLock(path)), mInstalled(folderWithoutLeftovers(mTop, INSTALLED)),
      mRequests(folderWithoutLeftovers(mTop, REQUESTS)) {}

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
