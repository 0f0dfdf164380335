#pragma once

// The roots that the configuration trusts.

#include "platform/x509/openssl_handles.h"

#include <stdexcept>
#include <string>

// The configured roots cannot be used: the text says which file and why.
struct UnusableRoots : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads a file of "CERTIFICATE" and "TRUSTED CERTIFICATE" blocks, whose trust settings count; other
// blocks and text between them are skipped. Throws UnusableRoots when the file cannot be read, has
// more than 1 MiB, holds no certificate, or one that cannot be decoded or whose key breaks
// ROOT_KEY_RULES. Without a file name: null, which is to say that no root is configured.
[[nodiscard]] RootsHandle loadRoots(const std::string& file);
