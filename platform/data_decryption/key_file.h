#pragma once

// The key of encrypted texts and the file that holds it.

#include "platform/posix/fault.h"

#include <array>
#include <cstddef>
#include <string>

constexpr std::size_t KEY_SIZE = 32;

// A key that is wiped from memory at its end of life. Never copied, so that no second one stays.
struct CipherKey {
    CipherKey() = default;
    CipherKey(const CipherKey&) = delete;
    CipherKey& operator=(const CipherKey&) = delete;
    ~CipherKey();

    std::array<unsigned char, KEY_SIZE> bytes{};
};

// Fills key from the file at path, which must be a regular one of exactly KEY_SIZE bytes. The fault
// names the file.
[[nodiscard]] Fault readKeyFile(const std::string& path, CipherKey& key);
