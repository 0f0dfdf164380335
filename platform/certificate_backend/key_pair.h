#pragma once

// Private keys: making, writing, and proving to which public key they belong.

#include "platform/posix/secret_text.h"
#include "platform/x509/openssl_handles.h"

#include <string>

// A fresh key pair. Both throw std::runtime_error when OpenSSL cannot make it.
[[nodiscard]] KeyHandle makeRsaKey(unsigned int bits);
[[nodiscard]] KeyHandle makeEcKey(const std::string& groupName); // "P-256", "P-384", "P-521"

// The key as an unencrypted "PRIVATE KEY" block (PKCS #8, RFC 5958).
[[nodiscard]] SecretText privateKeyText(EVP_PKEY* key);

// Whether what the private key signs is verified by the public key. Tries it, so that a damaged
// private key with the right public half is found too.
[[nodiscard]] bool keysBelongTogether(EVP_PKEY* privateKey, EVP_PKEY* publicKey);

// The SHA-256 digest, in hexadecimal, of the key's SubjectPublicKeyInfo (RFC 5280, 4.1.2.7).
[[nodiscard]] std::string publicKeyDigest(EVP_PKEY* key);

// The same of a SubjectPublicKeyInfo that OpenSSL has made from a key, which costs far less.
[[nodiscard]] std::string publicKeyDigest(const X509_PUBKEY* info);
