#pragma once

// The challenge password of a signing request, which travels encrypted.

#include <string>

// The password as the hexadecimal cipher text that the daemon decrypts. Makes the key file
// (/var/nginx/pkey.tmp, 32 random bytes, readable by its owner and group) when there is none.
// Throws FrontEndError (LOCAL_FILE) when the key file cannot be made or used, or the password is
// empty.
[[nodiscard]] std::string encryptChallengePassword(const std::string& password);
