#include "frontend/web/service/secrets.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <stdexcept>
#include <vector>

SecretDigest digestSecret(std::string_view secret) {
    SecretDigest digest{};
    if (EVP_Digest(secret.data(), secret.size(), digest.data(), nullptr, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("OpenSSL makes no digest");
    }
    return digest;
}

bool isSameSecret(const SecretDigest& left, const SecretDigest& right) {
    return CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

std::string randomText(std::size_t bytes) {
    std::vector<unsigned char> random(bytes);
    if (RAND_priv_bytes(random.data(), static_cast<int>(bytes)) != 1) {
        throw std::runtime_error("OpenSSL has no random bytes");
    }
    std::string text;
    for (const unsigned char each : random) {
        constexpr std::string_view DIGITS = "0123456789abcdef";
        text += DIGITS[each >> 4U];
        text += DIGITS[each & 0xfU];
    }
    return text;
}
