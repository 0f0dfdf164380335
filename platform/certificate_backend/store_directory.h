#pragma once

// Where the backend keeps what, below its directory:
//
//   installed/<name>   one file for each certificate: its private key (in a collection of
//   identities)
//                      and after it the certificate and the rest of its chain, all PEM. Key and
//                      certificate share one file, so that one rename replaces both.
//   requests/<name>    the private keys of signing requests whose certificate has not come yet.
//
// The directory's lock guards everything below it; the functions that change files say so.

#include "platform/certificate_backend/atomic_file.h"

#include <string>
#include <string_view>

// Makes the directories that are missing, waits for the lock, takes it, and clears away what a
// crash left behind. Throws std::system_error on a fault of the machine.
[[nodiscard]] OpenFile lockStore(const std::string& directory);

[[nodiscard]] std::string installedDirectory(const std::string& directory);
[[nodiscard]] std::string requestsDirectory(const std::string& directory);

// The file name for a resource URI: "/" becomes "+", letters, digits, "-" and "_" stay, any other
// byte becomes "=" and two hexadecimal digits. What gets too long for a file name is cut and ends
// in
// "~" and the SHA-256 digest of the URI. Different URIs have different names; none has a dot.
[[nodiscard]] std::string fileNameOf(std::string_view uri);

// The SHA-256 digest in lower-case hexadecimal.
[[nodiscard]] std::string sha256Hex(std::string_view bytes);
