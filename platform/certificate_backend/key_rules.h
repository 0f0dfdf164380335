#pragma once

// What a public key must be like, by what it serves for. Looked at before any signature is verified
// with it, so that no key costs more than the worst of these.

#include "platform/posix/fault.h"
#include "platform/x509/openssl_handles.h"

struct KeyRules {
    int largestRsaBits = 0;
    unsigned long smallestExponent = 0;
};

constexpr KeyRules IDENTITY_KEY_RULES = {4096, 65537};
constexpr KeyRules ISSUER_KEY_RULES = {8192, 65537};
constexpr KeyRules ROOT_KEY_RULES = {8192, 3}; // old roots have the exponent 3

// RSA or RSA-PSS of 2048 bits or more, with an odd exponent of at most 32 bits; P-256, P-384 or
// P-521, given by name (RFC 5480, 2.1.1); or Ed25519. An RSA-PSS key's own digest (RFC 4055, 3.1)
// must have at least 112 bits of security. The fault is the rest of a sentence that begins with the
// certificate.
[[nodiscard]] Fault keyFault(EVP_PKEY* key, const KeyRules& rules);
