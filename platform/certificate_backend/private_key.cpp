// OpenSSL is told the key's type: finding it out by trial costs it three times as much.

#include "platform/certificate_backend/private_key.h"

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
