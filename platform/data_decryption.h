#pragma once

// The data-decryption library: recovers texts that the front end stored encrypted.
//
// A closed interface: header and soname (libdata_decryption.so.1) are the contract. Thread-safe.
//
// The reference implementation's format is AES-256-GCM (NIST SP 800-38D). The text is hexadecimal,
// in upper or lower case and without blanks: nonce (12 bytes), cipher text, tag (16 bytes), at most
// 65536 digits. The key file is a regular file of exactly 32 bytes, the key itself.
// platform/data_decryption/encrypt.h is the counterpart.

#include <string>

// The plain text of cipherHex (hexadecimal digits), decrypted with the key in keyFile. An empty
// string when it cannot be decrypted; the reference implementation then writes one line on standard
// error that says why and holds nothing of key or text. The plain text belongs to the caller, who
// clears it after use; the library keeps no copy of it or of the key.
std::string decryptHexString(const std::string& cipherHex, const std::string& keyFile);
