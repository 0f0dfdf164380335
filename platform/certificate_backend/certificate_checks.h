#pragma once

// What a certificate must fulfil before it is installed. Each check returns why the certificate is
// refused; no fault holds key material.

#include "platform/certificate_backend/board_clock.h"
#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/collection_kind.h"

#include <string>

// Expired, or not yet valid. A start in the future counts only when the clock is set.
[[nodiscard]] Fault validityFault(X509* certificate, const BoardClock& clock);

// The public key is RSA of 2048 to 8192 bits, or on P-256, P-384 or P-521, or Ed25519.
[[nodiscard]] Fault keyFault(X509* certificate);

// The signature has at least 112 bits of security (no MD5, no SHA-1).
[[nodiscard]] Fault signatureFault(X509* certificate);

// Fit to be a server's identity: not the certificate of an authority below another one, and made
// for server authentication when it has an extended key usage.
[[nodiscard]] Fault serverUseFault(X509* certificate);

// The private key, if there is one, belongs to the first certificate; in a collection of trust
// there must be none. The certificate's key must have been found good before.
[[nodiscard]] Fault privateKeyFault(const ChainAndKey& certificate, CollectionKind kind);

// All checks for what is to go into a collection of that kind. The signature of a self-signed
// certificate counts only when it is the identity itself: on a root it proves nothing. Throws
// std::runtime_error when the root CA file cannot be read.
[[nodiscard]] Fault admissionFault(const ChainAndKey& certificate, CollectionKind kind,
                                   const std::string& rootCaFile, const BoardClock& clock);
