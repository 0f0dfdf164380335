#include "platform/certificate_backend/key_rules.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr int SMALLEST_RSA_BITS = 2048;
constexpr int LARGEST_EXPONENT_BITS = 32;
constexpr int SMALLEST_DIGEST = 28; // bytes: 112 bits against collisions
constexpr int MANDATORY = 2;        // of EVP_PKEY_get_default_digest_name
constexpr std::array<std::string_view, 3> CURVES = {"prime256v1", "secp384r1", "secp521r1"};
constexpr const char* ACCEPTED_KEYS =
    " Accepted are RSA of 2048 bits or more, P-256, P-384, P-521 and Ed25519.";

using Name = std::array<char, 64>;

bool isCurveAllowed(EVP_PKEY* key) {
    Name name{};
    return EVP_PKEY_get_group_name(key, name.data(), name.size(), nullptr) == 1 &&
           std::find(CURVES.begin(), CURVES.end(), name.data()) != CURVES.end();
}

bool isCurveSpeltOut(EVP_PKEY* key) {
    int isExplicit = 0;
    return EVP_PKEY_get_int_param(key, OSSL_PKEY_PARAM_EC_DECODED_FROM_EXPLICIT_PARAMS,
                                  &isExplicit) == 1 &&
           isExplicit != 0;
}

Fault curveFault(EVP_PKEY* key) {
    if (isCurveSpeltOut(key)) {
        return "has a key with the numbers of its curve spelt out. Give the curve by its name.";
    }
    if (!isCurveAllowed(key)) {
        return std::string("has a key on another curve than P-256, P-384 and P-521.") +
               ACCEPTED_KEYS;
    }
    return std::nullopt;
}

bool isExponentAllowed(EVP_PKEY* key, const KeyRules& rules) {
    BIGNUM* number = nullptr;
    EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_E, &number);
    const std::unique_ptr<BIGNUM, OpenSSLRelease<BN_free>> exponent(number);
    return exponent && BN_is_odd(exponent.get()) &&
           BN_num_bits(exponent.get()) <= LARGEST_EXPONENT_BITS &&
           BN_get_word(exponent.get()) >= rules.smallestExponent;
}

Fault rsaFault(EVP_PKEY* key, const KeyRules& rules) {
    const int bits = EVP_PKEY_get_bits(key);
    if (bits < SMALLEST_RSA_BITS || bits > rules.largestRsaBits) {
        return "has an RSA key of " + std::to_string(bits) + " bits. Accepted are 2048 to " +
               std::to_string(rules.largestRsaBits) + " bits.";
    }
    if (!isExponentAllowed(key, rules)) {
        return "has an RSA key with an unusual exponent. Accepted are odd ones from " +
               std::to_string(rules.smallestExponent) + " to 4294967295.";
    }
    return std::nullopt;
}

// A key without a digest of its own serves with any.
Fault ownDigestFault(EVP_PKEY* key) {
    Name name{};
    if (EVP_PKEY_get_default_digest_name(key, name.data(), name.size()) != MANDATORY) {
        return std::nullopt;
    }
    const EVP_MD* digest = EVP_get_digestbyname(name.data());
    if (digest == nullptr || EVP_MD_get_size(digest) < SMALLEST_DIGEST) {
        return "has an RSA-PSS key for the digest " + std::string(name.data()) +
               " alone, which is too weak. Accepted are SHA-224 and longer ones.";
    }
    return std::nullopt;
}

} // namespace

Fault keyFault(EVP_PKEY* key, const KeyRules& rules) {
    if (key == nullptr) {
        return std::string("has a public key that cannot be read.") + ACCEPTED_KEYS;
    }
    switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
        return rsaFault(key, rules);
    case EVP_PKEY_RSA_PSS: {
        Fault fault = rsaFault(key, rules);
        return fault ? fault : ownDigestFault(key);
    }
    case EVP_PKEY_EC:
        return curveFault(key);
    case EVP_PKEY_ED25519:
        return std::nullopt;
    default:
        return std::string("has a key of another algorithm.") + ACCEPTED_KEYS;
    }
}
