#pragma once

// The form of an encrypted text, as both directions need it.

#include <openssl/err.h>

#include <cstddef>

// Hexadecimal digits of nonce, cipher text and tag; the cipher text is as long as the plain text.
constexpr std::size_t NONCE_SIZE = 12;
constexpr std::size_t TAG_SIZE = 16;
constexpr std::size_t MIN_DIGITS = 2 * (NONCE_SIZE + TAG_SIZE);
constexpr std::size_t MAX_DIGITS = 65536;
constexpr std::size_t MAX_PLAIN_SIZE = (MAX_DIGITS - MIN_DIGITS) / 2;

// Leaves the thread's OpenSSL error queue, which belongs to the caller, as it was found.
class ErrorQueueGuard {
public:
    ErrorQueueGuard() {
        ERR_set_mark();
    }
    ErrorQueueGuard(const ErrorQueueGuard&) = delete;
    ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
    ~ErrorQueueGuard() {
        ERR_pop_to_mark();
    }
};
