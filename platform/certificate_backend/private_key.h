#pragma once

// Private keys in text blocks: decoding them.

#include "platform/certificate_backend/pem_blocks.h"
#include "platform/x509/openssl_handles.h"

// Whether the block's label is that of an unencrypted private key.
[[nodiscard]] bool holdsPrivateKey(const PemBlock& block);

// The key of such a block; null when it cannot be decoded or bytes follow it.
[[nodiscard]] KeyHandle decodePrivateKey(const PemBlock& block);
