// The plain text is decrypted straight into the string that the caller gets, so that no other
// buffer holds it. What was decrypted before the tag proved false is wiped and never handed out.
// Faults go to standard error; they hold sizes and the key file's path, nothing of the text. A
// wrong key and a damaged text cannot be told apart.

#include "platform/data_decryption.h"
#include "platform/data_decryption/encrypted_text.h"
#include "platform/data_decryption/key_file.h"
#include "platform/x509/openssl_handles.h"

#include <openssl/crypto.h>

#include <cstddef>
#include <cstdio>
#include <string_view>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// The value of a hexadecimal digit, or -1.
int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

Fault decodeDigits(std::string_view digits, Bytes& bytes) {
    if (digits.size() > MAX_DIGITS) {
        return "the text has more than " + std::to_string(MAX_DIGITS) + " digits";
    }
    if (digits.size() < MIN_DIGITS) {
        return "the text has fewer than " + std::to_string(MIN_DIGITS) + " digits";
    }
    if (digits.size() % 2 != 0) {
        return "the text has an odd number of digits";
    }
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = digitValue(digits[i]);
        const int low = digitValue(digits[i + 1]);
        if (high < 0 || low < 0) {
            return "the text holds a character that is no hexadecimal digit";
        }
        bytes.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    return std::nullopt;
}

// Decrypts into plainText, whose content is worth nothing when there is a fault.
Fault openText(Bytes& bytes, const CipherKey& key, std::string& plainText) {
    const ErrorQueueGuard errors;
    const CipherContextHandle context(EVP_CIPHER_CTX_new());
    const unsigned char* nonce = bytes.data();
    const unsigned char* cipherText = nonce + NONCE_SIZE;
    plainText.resize(bytes.size() - NONCE_SIZE - TAG_SIZE);
    unsigned char* tag = bytes.data() + NONCE_SIZE + plainText.size();
    auto* out = reinterpret_cast<unsigned char*>(plainText.data());
    int count = 0;
    // The cipher's own nonce length is the 12 bytes used here.
    if (!context ||
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(), nonce) !=
            1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, TAG_SIZE, tag) != 1 ||
        EVP_DecryptUpdate(context.get(), out, &count, cipherText,
                          static_cast<int>(plainText.size())) != 1) {
        return "OpenSSL refuses AES-256-GCM";
    }
    if (EVP_DecryptFinal_ex(context.get(), out + count, &count) != 1) {
        return "the text is damaged or was encrypted with another key";
    }
    return std::nullopt;
}

Fault decrypt(const std::string& cipherHex, const std::string& keyFile, std::string& plainText) {
    Bytes bytes;
    CipherKey key;
    if (Fault fault = decodeDigits(cipherHex, bytes)) {
        return fault;
    }
    if (Fault fault = readKeyFile(keyFile, key)) {
        return fault;
    }
    return openText(bytes, key, plainText);
}

} // namespace

std::string decryptHexString(const std::string& cipherHex, const std::string& keyFile) {
    std::string plainText; // the one object that is returned: a move would leave a copy behind
    if (const Fault fault = decrypt(cipherHex, keyFile, plainText)) {
        OPENSSL_cleanse(plainText.data(), plainText.size());
        plainText.clear();
        const std::string line = "data_decryption: " + *fault + "\n";
        static_cast<void>(std::fputs(line.c_str(), stderr)); // nowhere else to complain
    }
    return plainText;
}
