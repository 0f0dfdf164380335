#include "platform/certificate_backend/key_pair.h"

#include "platform/certificate_backend/sha256.h"
#include "platform/x509/memory_text.h"

#include <openssl/pem.h>

#include <array>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view PROBE = "certificate backend: does this key pair work?";

// Null where the algorithm brings its own (Ed25519). An RSA-PSS key may allow one digest alone.
const EVP_MD* probeDigest(EVP_PKEY* key) {
    constexpr int MANDATORY = 2;
    std::array<char, 64> name{};
    const int type = EVP_PKEY_get_base_id(key);
    if (type == EVP_PKEY_ED25519 || type == EVP_PKEY_ED448) {
        return nullptr;
    }
    return EVP_PKEY_get_default_digest_name(key, name.data(), name.size()) == MANDATORY
               ? EVP_get_digestbyname(name.data())
               : EVP_sha256();
}

const unsigned char* probeBytes() {
    return reinterpret_cast<const unsigned char*>(PROBE.data());
}

SecretBytes signProbe(EVP_PKEY* key) {
    const DigestContextHandle context(EVP_MD_CTX_new());
    SecretBytes signature;
    std::size_t length = 0;
    if (!context ||
        EVP_DigestSignInit(context.get(), nullptr, probeDigest(key), nullptr, key) != 1 ||
        EVP_DigestSign(context.get(), nullptr, &length, probeBytes(), PROBE.size()) != 1) {
        return {};
    }
    signature.resize(length);
    if (EVP_DigestSign(context.get(), signature.data(), &length, probeBytes(), PROBE.size()) != 1) {
        return {};
    }
    signature.resize(length);
    return signature;
}

bool verifyProbe(EVP_PKEY* key, const SecretBytes& signature) {
    const DigestContextHandle context(EVP_MD_CTX_new());
    return context &&
           EVP_DigestVerifyInit(context.get(), nullptr, probeDigest(key), nullptr, key) == 1 &&
           EVP_DigestVerify(context.get(), signature.data(), signature.size(), probeBytes(),
                            PROBE.size()) == 1;
}

KeyHandle orThrow(EVP_PKEY* key) {
    if (key == nullptr) {
        throw std::runtime_error("cannot make a key pair");
    }
    return KeyHandle(key);
}

// Frees the encoding.
std::string digestOfEncoding(unsigned char* encoded, int length) {
    if (length <= 0) {
        throw std::runtime_error("cannot encode a public key");
    }
    const std::string bytes(reinterpret_cast<const char*>(encoded),
                            static_cast<std::size_t>(length));
    OPENSSL_free(encoded);
    return sha256Hex(bytes);
}

} // namespace

KeyHandle makeRsaKey(unsigned int bits) {
    return orThrow(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t{bits}));
}

KeyHandle makeEcKey(const std::string& groupName) {
    return orThrow(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", groupName.c_str()));
}

SecretText privateKeyText(EVP_PKEY* key) {
    const BioHandle memory = newMemory();
    if (PEM_write_bio_PKCS8PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr, nullptr) !=
        1) {
        throw std::runtime_error("cannot write a private key as text");
    }
    return SecretText(writtenText(memory));
}

bool keysBelongTogether(EVP_PKEY* privateKey, EVP_PKEY* publicKey) {
    if (EVP_PKEY_eq(privateKey, publicKey) != 1) {
        return false;
    }
    const SecretBytes signature = signProbe(privateKey);
    return !signature.empty() && verifyProbe(publicKey, signature);
}

std::string publicKeyDigest(EVP_PKEY* key) {
    unsigned char* encoded = nullptr;
    const int length = i2d_PUBKEY(key, &encoded);
    return digestOfEncoding(encoded, length);
}

std::string publicKeyDigest(const X509_PUBKEY* info) {
    unsigned char* encoded = nullptr;
    const int length = i2d_X509_PUBKEY(info, &encoded);
    return digestOfEncoding(encoded, length);
}
