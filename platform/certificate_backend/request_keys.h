#pragma once

// The private keys of signing requests whose certificate has not come back yet.
//
// Each key is a file named by a running number and the digest of its public key. The newest 64 are
// kept; the number, not a date, says which is older, because a board's clock may jump. Faults of
// the machine are thrown as std::runtime_error or std::system_error.

#include "platform/certificate_backend/locked_directory.h"
#include "platform/x509/openssl_handles.h"

#include <string>

// Puts the key on disk as the newest, then drops the oldest above the bound. The digest is that of
// its public key.
void keepRequestKey(const LockedDirectory& directory, EVP_PKEY* key, const std::string& digest);

// The private key to the public key; null when none is kept.
[[nodiscard]] KeyHandle findRequestKey(const LockedDirectory& directory, EVP_PKEY* publicKey);

// Forgets the private key to the public key, if it is kept.
void dropRequestKey(const LockedDirectory& directory, EVP_PKEY* publicKey);
