#pragma once

// Texts in memory as OpenSSL reads and writes them.

#include "platform/x509/openssl_handles.h"

#include <string_view>

// A place to write to, which OpenSSL wipes when it is freed. Throws std::runtime_error when there
// is no memory for it.
[[nodiscard]] BioHandle newMemory();

// What has been written so far, as long as nothing more is written.
[[nodiscard]] std::string_view writtenText(const BioHandle& memory);

// A place to read the text from, which must outlive it. Throws std::runtime_error when there is no
// memory for it.
[[nodiscard]] BioHandle readableText(std::string_view text);

// For OpenSSL's passphrase argument: no passphrase. With a null pointer OpenSSL would ask for one
// on the terminal.
int noPassphrase(char* buffer, int size, int writing, void* user);
