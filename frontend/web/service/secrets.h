#pragma once

// Secrets that clients prove to know: made at random, kept as digests alone, compared in a time
// that does not depend on what differs.

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

using SecretDigest = std::array<unsigned char, 32>; // SHA-256; hides the length as well

// Throws std::runtime_error when OpenSSL fails.
[[nodiscard]] SecretDigest digestSecret(std::string_view secret);

[[nodiscard]] bool isSameSecret(const SecretDigest& left, const SecretDigest& right);

// So many bytes of the system's random source, as lower-case hexadecimal digits. Throws
// std::runtime_error when there are none.
[[nodiscard]] std::string randomText(std::size_t bytes);
