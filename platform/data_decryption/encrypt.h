#pragma once

// The front end's side of platform/data_decryption.h: makes the texts that decryptHexString
// recovers. No part of that library's interface; whoever needs it links data_encryption.

#include <string>

// plainText as hexadecimal text in lower case, encrypted with the key in keyFile under a fresh
// random nonce, so that no two results are alike. Because nonces are random, a key is good for
// 2^32 texts (NIST SP 800-38D, section 8.3).
//
// An empty string, and one line on standard error that says why, when the key file cannot be used,
// plainText has more than 32740 bytes, or it is empty: decrypted, an empty text would be
// indistinguishable from a failure. Thread-safe.
[[nodiscard]] std::string encryptHexString(const std::string& plainText,
                                           const std::string& keyFile);
