#pragma once

// Private keys in text blocks: decoding them, and what their numbers must fulfil.

#include "platform/certificate_backend/pem_blocks.h"
#include "platform/x509/openssl_handles.h"

// Whether the block's label is that of an unencrypted private key.
[[nodiscard]] bool holdsPrivateKey(const PemBlock& block);

// The key of such a block; null when it cannot be decoded or bytes follow it.
[[nodiscard]] KeyHandle decodePrivateKey(const PemBlock& block);

// Whether the block "EC PARAMETERS", which some tools write before an EC key, names a curve and
// holds nothing else (RFC 5915, 4).
[[nodiscard]] bool namesCurve(const PemBlock& block);

// Why the key's numbers cannot be those of a working pair, found without using them: RSA with two
// primes p * q = n, 0 < d < n, no number longer than the modulus n, and the short exponents and the
// coefficient that follow from these (RFC 8017, 3.2); EC with 0 < d < the order of the group. The
// key's public half must have been found good before.
[[nodiscard]] Fault privateNumbersFault(EVP_PKEY* key);

// The part of it that costs nothing however long the numbers are, also while the public half is
// unknown: why the numbers of an RSA key are not between 0 and n.
[[nodiscard]] Fault privateRangeFault(EVP_PKEY* key);
