#pragma once

#include <string>
#include <string_view>

// The SHA-256 digest in lower-case hexadecimal. Throws std::runtime_error when OpenSSL cannot
// compute it.
[[nodiscard]] std::string sha256Hex(std::string_view bytes);
