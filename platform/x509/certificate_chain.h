#pragma once

// Certificate chains (RFC 5280, 6): reading them, putting them in order, writing them. Nothing is
// said about whether a certificate is any good. What cannot be read leaves errors in OpenSSL's
// queue for the thread.

#include "platform/x509/openssl_handles.h"

#include <string>
#include <string_view>
#include <vector>

// A certificate, then the rest of its chain, each one followed by its issuer.
using CertificateChain = std::vector<CertificateHandle>;

// The certificates among the PEM blocks (RFC 7468) of the text, in their order, up to the first one
// that cannot be decoded. Anything else in the text is skipped.
[[nodiscard]] CertificateChain readCertificates(std::string_view text);

// The first PKCS #7 block of the text (RFC 2315); null when there is none that can be decoded.
[[nodiscard]] SignedDataHandle readSignedData(std::string_view text);

// Whether the content is signed data: PKCS #7 has other kinds.
[[nodiscard]] bool isSignedData(const PKCS7* data);

// The certificates of the signed data, in their order; none when it is not signed data.
[[nodiscard]] CertificateChain certificatesOf(const PKCS7* data);

// One way to tell whether the first certificate is the issuer of the second: by its name alone, or
// by name, key identifier, key usage and signature.
using IssuerTest = bool (*)(X509* issuer, X509* certificate);
[[nodiscard]] bool hasIssuerName(X509* issuer, X509* certificate);
[[nodiscard]] bool hasIssuerSignature(X509* issuer, X509* certificate);

// Puts first the certificate that no other one names as its issuer, and after each certificate its
// issuer. True when every certificate has such a place; one that has none stays where it was.
bool orderChain(CertificateChain& chain, IssuerTest isIssuer);

// The chain as PEM blocks. Throws std::runtime_error when OpenSSL cannot write it.
[[nodiscard]] std::string pemText(const CertificateChain& chain);

// The PKCS #7 object as a PEM block, its own parts unchanged. Throws std::runtime_error when
// OpenSSL cannot write it.
[[nodiscard]] std::string pemText(const SignedDataHandle& data);
