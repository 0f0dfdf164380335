// The layout of the backend's directory, and the names in it.

#include "platform/certificate_backend/store_directory.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace {

constexpr std::size_t LONGEST_NAME = 200; // leaves room for an ending within 255 bytes
constexpr std::size_t KEPT_OF_LONG_NAME = 100;
constexpr std::string_view HEX_DIGITS = "0123456789abcdef";

bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
}

std::string hexOf(unsigned char byte) {
    return {HEX_DIGITS[byte >> 4U], HEX_DIGITS[byte & 0x0fU]};
}

} // namespace

OpenFile lockStore(const std::string& directory) {
    makeDirectory(directory);
    OpenFile lock = lockDirectory(directory);
    for (const std::string& part : {installedDirectory(directory), requestsDirectory(directory)}) {
        makeDirectory(part);
        removeInterruptedWrite(part);
    }
    return lock;
}

std::string installedDirectory(const std::string& directory) {
    return directory + "/installed";
}

std::string requestsDirectory(const std::string& directory) {
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
            name += '=' + hexOf(static_cast<unsigned char>(c));
        }
        if (name.size() > LONGEST_NAME) {
            return name.substr(0, KEPT_OF_LONG_NAME) + '~' + sha256Hex(uri);
        }
    }
    return name;
}

std::string sha256Hex(std::string_view bytes) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("cannot compute a SHA-256 digest");
    }
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        text += hexOf(digest.at(i));
    }
    return text;
}
