#pragma once

// The texts in which certificates come and go (Redfish Certificate 1.2, CertificateType).

#include "platform/x509/certificate_chain.h"

#include <optional>
#include <string>
#include <string_view>

enum class CertificateType {
    SINGLE,      // "PEM": one certificate (RFC 7468)
    CHAIN,       // "PEMchain": a certificate and those of its issuers, in any order
    SIGNED_DATA, // "PKCS7": the same as one PKCS #7 signed-data block (RFC 2315)
};

struct CertificateText {
    CertificateChain chain;
    KeyHandle privateKey; // null when the text holds none
    std::string fault;    // why the text is refused, for a message; empty when it is good
};

// The type for its Redfish name "PEM", "PEMchain" or "PKCS7"; nothing for any other name.
[[nodiscard]] std::optional<CertificateType> certificateTypeOf(std::string_view name);

constexpr std::size_t LONGEST_CERTIFICATE_TEXT = std::size_t{64} * 1024; // bytes

// Reads a text of at most that many bytes with at most 16 certificates and at most one unencrypted
// private key. Whether the certificates are to be trusted is not asked here. The fault holds
// nothing of a key.
[[nodiscard]] CertificateText readCertificateText(std::string_view text, CertificateType type,
                                                  std::size_t longest = LONGEST_CERTIFICATE_TEXT);

// The chain as text of that type, without any private key.
[[nodiscard]] std::string certificateText(const CertificateChain& chain, CertificateType type);
