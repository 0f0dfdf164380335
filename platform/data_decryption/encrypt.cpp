// Encrypts into one buffer laid out as the text is: nonce, cipher text, tag; the digits are made
// from it at the end. The plain text is read where the caller holds it and copied nowhere.

#include "platform/data_decryption/encrypt.h"

#include "platform/data_decryption/encrypted_text.h"
#include "platform/data_decryption/key_file.h"
#include "platform/x509/openssl_handles.h"

#include <openssl/rand.h>

#include <cstddef>
#include <cstdio>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

std::string encodeDigits(const Bytes& bytes) {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string digits;
    digits.reserve(2 * bytes.size());
    for (const unsigned char byte : bytes) {
        digits += DIGITS[byte >> 4U];
        digits += DIGITS[byte & 0x0FU];
    }
    return digits;
}

// Whether bytes now holds the encrypted text.
bool sealText(const std::string& plainText, const CipherKey& key, Bytes& bytes) {
    const ErrorQueueGuard errors;
    const CipherContextHandle context(EVP_CIPHER_CTX_new());
    bytes.resize(NONCE_SIZE + plainText.size() + TAG_SIZE);
    unsigned char* nonce = bytes.data();
    unsigned char* cipherText = nonce + NONCE_SIZE;
    unsigned char* tag = cipherText + plainText.size();
    const auto* in = reinterpret_cast<const unsigned char*>(plainText.data());
    int count = 0;
    return context && RAND_bytes(nonce, static_cast<int>(NONCE_SIZE)) == 1 &&
           EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(), nonce) ==
               1 &&
           EVP_EncryptUpdate(context.get(), cipherText, &count, in,
                             static_cast<int>(plainText.size())) == 1 &&
           EVP_EncryptFinal_ex(context.get(), tag, &count) == 1 &&
           EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, TAG_SIZE, tag) == 1;
}

Fault encrypt(const std::string& plainText, const std::string& keyFile, Bytes& bytes) {
    if (plainText.empty()) {
        return "an empty text cannot be encrypted";
    }
    if (plainText.size() > MAX_PLAIN_SIZE) {
        return "the text has more than " + std::to_string(MAX_PLAIN_SIZE) + " bytes";
    }
    CipherKey key;
    if (Fault fault = readKeyFile(keyFile, key)) {
        return fault;
    }
    if (!sealText(plainText, key, bytes)) {
        return "OpenSSL refuses AES-256-GCM";
    }
    return std::nullopt;
}

} // namespace

std::string encryptHexString(const std::string& plainText, const std::string& keyFile) {
    Bytes bytes;
    if (const Fault fault = encrypt(plainText, keyFile, bytes)) {
        const std::string line = "data_encryption: " + *fault + "\n";
        static_cast<void>(std::fputs(line.c_str(), stderr)); // nowhere else to complain
        return {};
    }
    return encodeDigits(bytes);
}
