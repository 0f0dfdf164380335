#pragma once

// The data-decryption library: recovers texts that the front end stored encrypted.
//
// A closed interface: header and soname (libdata_decryption.so.1) are the contract. Thread-safe.

#include <string>

// The plain text of cipherHex (hexadecimal digits), decrypted with the key in keyFile. An empty
// string when it cannot be decrypted.
std::string decryptHexString(const std::string& cipherHex, const std::string& keyFile);
