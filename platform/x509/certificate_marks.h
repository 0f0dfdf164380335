#pragma once

// By what a certificate is told from others, and how it is signed.

#include "platform/x509/openssl_handles.h"

#include <string>

// The serial number (RFC 5280, 4.1.2.2) as its bytes, "0a:1b"; with "-" before it when it is
// negative, which certificates of others may have.
[[nodiscard]] std::string serialNumberOf(const X509* certificate);

// The algorithm with which the issuer signed it, under OpenSSL's name, "sha256WithRSAEncryption",
// or as an object identifier when it has none.
[[nodiscard]] std::string signatureAlgorithmOf(const X509* certificate);

// The SHA-256 digest of the whole certificate, "A6:E9:D2"; empty when OpenSSL cannot make it.
[[nodiscard]] std::string fingerprintOf(const X509* certificate);

// The digest's name in the TCG's algorithm registry.
inline constexpr char FINGERPRINT_ALGORITHM[] = "TPM_ALG_SHA256";
