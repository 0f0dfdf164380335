// OpenSSL is told the key's type: finding it out by trial costs it three times as much.

#include "platform/certificate_backend/private_key.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>

#include <algorithm>
#include <array>

namespace {

struct KeyLabel {
    std::string_view label;
    int type; // OpenSSL's number; EVP_PKEY_NONE where the block itself names it (PKCS #8)
};

constexpr std::array<KeyLabel, 3> KEY_LABELS = {{{"PRIVATE KEY", EVP_PKEY_NONE},
                                                 {"RSA PRIVATE KEY", EVP_PKEY_RSA},
                                                 {"EC PRIVATE KEY", EVP_PKEY_EC}}};

using PrivateKeyInfoHandle =
    std::unique_ptr<PKCS8_PRIV_KEY_INFO, OpenSSLRelease<PKCS8_PRIV_KEY_INFO_free>>;

const KeyLabel* labelOf(const PemBlock& block) {
    const auto* found =
        std::find_if(KEY_LABELS.begin(), KEY_LABELS.end(),
                     [&](const KeyLabel& known) { return known.label == block.label; });
    return found == KEY_LABELS.end() ? nullptr : found;
}

// The type that a PrivateKeyInfo names (RFC 5958); EVP_PKEY_NONE when it cannot be read.
int namedType(const SecretBytes& content) {
    const unsigned char* position = content.data();
    const PrivateKeyInfoHandle info(
        d2i_PKCS8_PRIV_KEY_INFO(nullptr, &position, static_cast<long>(content.size())));
    const ASN1_OBJECT* algorithm = nullptr;
    return info && PKCS8_pkey_get0(&algorithm, nullptr, nullptr, nullptr, info.get()) == 1
               ? OBJ_obj2nid(algorithm)
               : EVP_PKEY_NONE;
}

struct WipeNumber {
    void operator()(BIGNUM* number) const {
        BN_clear_free(number);
    }
};
using NumberHandle = std::unique_ptr<BIGNUM, WipeNumber>;

// Null when the key has no such number.
NumberHandle numberOf(EVP_PKEY* key, const char* name) {
    BIGNUM* number = nullptr;
    return EVP_PKEY_get_bn_param(key, name, &number) == 1 ? NumberHandle(number) : nullptr;
}

bool isBetweenZeroAnd(const NumberHandle& number, const NumberHandle& bound) {
    return number && bound && !BN_is_zero(number.get()) && !BN_is_negative(number.get()) &&
           BN_cmp(number.get(), bound.get()) < 0;
}

using ScratchHandle = std::unique_ptr<BN_CTX, OpenSSLRelease<BN_CTX_free>>;

bool isProduct(const NumberHandle& p, const NumberHandle& q, const NumberHandle& n) {
    const ScratchHandle scratch(BN_CTX_secure_new());
    const NumberHandle product(BN_secure_new());
    return scratch && product && BN_mul(product.get(), p.get(), q.get(), scratch.get()) == 1 &&
           BN_cmp(product.get(), n.get()) == 0;
}

// Whether exponent = d mod (prime - 1).
bool isExponentFor(const NumberHandle& prime, const NumberHandle& d, const NumberHandle& exponent) {
    const ScratchHandle scratch(BN_CTX_secure_new());
    const NumberHandle remainder(BN_secure_new());
    const NumberHandle order(BN_dup(prime.get()));
    return scratch && remainder && order && BN_sub_word(order.get(), 1) == 1 &&
           BN_mod(remainder.get(), d.get(), order.get(), scratch.get()) == 1 &&
           BN_cmp(remainder.get(), exponent.get()) == 0;
}

// Whether coefficient * q mod p = 1.
bool isInverse(const NumberHandle& coefficient, const NumberHandle& q, const NumberHandle& p) {
    const ScratchHandle scratch(BN_CTX_secure_new());
    const NumberHandle product(BN_secure_new());
    return scratch && product &&
           BN_mod_mul(product.get(), coefficient.get(), q.get(), p.get(), scratch.get()) == 1 &&
           BN_is_one(product.get());
}

struct RsaNumbers {
    explicit RsaNumbers(EVP_PKEY* key)
        : n(numberOf(key, OSSL_PKEY_PARAM_RSA_N)), d(numberOf(key, OSSL_PKEY_PARAM_RSA_D)),
          p(numberOf(key, OSSL_PKEY_PARAM_RSA_FACTOR1)),
          q(numberOf(key, OSSL_PKEY_PARAM_RSA_FACTOR2)),
          dp(numberOf(key, OSSL_PKEY_PARAM_RSA_EXPONENT1)),
          dq(numberOf(key, OSSL_PKEY_PARAM_RSA_EXPONENT2)),
          coefficient(numberOf(key, OSSL_PKEY_PARAM_RSA_COEFFICIENT1)) {}

    [[nodiscard]] bool areInRange() const {
        const std::array secrets = {&d, &p, &q, &dp, &dq, &coefficient};
        return std::all_of(secrets.begin(), secrets.end(), [this](const NumberHandle* number) {
            return isBetweenZeroAnd(*number, n);
        });
    }

    NumberHandle n;
    NumberHandle d;
    NumberHandle p;
    NumberHandle q;
    NumberHandle dp;
    NumberHandle dq;
    NumberHandle coefficient;
};

// With a wrong one of its short numbers a key still works, at many times the cost.
bool areRsaNumbersSound(EVP_PKEY* key) {
    const RsaNumbers numbers(key);
    const auto& [n, d, p, q, dp, dq, coefficient] = numbers;
    return numbers.areInRange() && !numberOf(key, OSSL_PKEY_PARAM_RSA_FACTOR3) &&
           isProduct(p, q, n) && isExponentFor(p, d, dp) && isExponentFor(q, d, dq) &&
           isInverse(coefficient, q, p);
}

bool areNumbersSound(EVP_PKEY* key) {
    switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
        return areRsaNumbersSound(key);
    case EVP_PKEY_EC:
        return isBetweenZeroAnd(numberOf(key, OSSL_PKEY_PARAM_PRIV_KEY),
                                numberOf(key, OSSL_PKEY_PARAM_EC_ORDER));
    default:
        return true; // any 32 bytes are an Ed25519 key
    }
}

constexpr const char* DAMAGED = "The private key of the text is damaged: its numbers do not belong "
                                "together. Send the key as it was made.";

} // namespace

bool holdsPrivateKey(const PemBlock& block) {
    return labelOf(block) != nullptr;
}

KeyHandle decodePrivateKey(const PemBlock& block) {
    const KeyLabel* label = labelOf(block);
    const SecretBytes& content = block.content;
    const int type = label == nullptr               ? EVP_PKEY_NONE
                     : label->type != EVP_PKEY_NONE ? label->type
                                                    : namedType(content);
    if (type == EVP_PKEY_NONE) {
        return nullptr;
    }
    const unsigned char* position = content.data();
    KeyHandle key(d2i_PrivateKey(type, nullptr, &position, static_cast<long>(content.size())));
    return position == content.data() + content.size() ? std::move(key) : nullptr;
}

bool namesCurve(const PemBlock& block) {
    using ObjectHandle = std::unique_ptr<ASN1_OBJECT, OpenSSLRelease<ASN1_OBJECT_free>>;
    const unsigned char* position = block.content.data();
    const ObjectHandle curve(
        d2i_ASN1_OBJECT(nullptr, &position, static_cast<long>(block.content.size())));
    return curve && position == block.content.data() + block.content.size() &&
           EC_curve_nid2nist(OBJ_obj2nid(curve.get())) != nullptr;
}

Fault privateNumbersFault(EVP_PKEY* key) {
    return areNumbersSound(key) ? std::nullopt : Fault(DAMAGED);
}

Fault privateRangeFault(EVP_PKEY* key) {
    const int type = EVP_PKEY_get_base_id(key);
    const bool isRsa = type == EVP_PKEY_RSA || type == EVP_PKEY_RSA_PSS;
    return !isRsa || RsaNumbers(key).areInRange() ? std::nullopt : Fault(DAMAGED);
}
