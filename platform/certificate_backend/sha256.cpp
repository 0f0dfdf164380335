#include "platform/certificate_backend/sha256.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

std::string sha256Hex(std::string_view bytes) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::array<unsigned char, 32> digest{};
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("cannot compute a SHA-256 digest");
    }
    std::string text;
    for (const unsigned char byte : digest) {
        text += DIGITS[byte >> 4U];
        text += DIGITS[byte & 0x0fU];
    }
    return text;
}
