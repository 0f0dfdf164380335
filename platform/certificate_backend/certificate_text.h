#pragma once

// The texts in which certificates come and go (Redfish Certificate 1.2, CertificateType).

#include "platform/certificate_backend/pem_blocks.h"
#include "platform/posix/fault.h"
#include "platform/x509/certificate_chain.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

enum class CertificateType {
    SINGLE,      // "PEM": one certificate (RFC 7468)
    CHAIN,       // "PEMchain": a certificate and those of its issuers, in any order
    SIGNED_DATA, // "PKCS7": the same as PKCS #7 signed data (RFC 2315), as a block or bare base64
};

// The type for its Redfish name "PEM", "PEMchain" or "PKCS7"; nothing for any other name.
[[nodiscard]] std::optional<CertificateType> certificateTypeOf(std::string_view name);

// What a text holds, before anything is asked about it.
struct CertificateBlocks {
    CertificateChain certificates;      // as the text has them
    std::optional<PemBlock> privateKey; // not decoded
};

constexpr std::size_t LONGEST_CERTIFICATE_TEXT = std::size_t{64} * 1024; // bytes

// Reads a text of at most that many bytes with one to sixteen certificates and at most one
// unencrypted private key. Returns why the text is refused, in sentences that hold nothing of a
// key; the result is then not to be used.
[[nodiscard]] Fault readCertificateText(std::string_view text, CertificateType type,
                                        CertificateBlocks& result,
                                        std::size_t longest = LONGEST_CERTIFICATE_TEXT);

// The chain as text of that type, without any private key.
[[nodiscard]] std::string certificateText(const CertificateChain& chain, CertificateType type);

// The key of a text that holds one unencrypted private key and no other block; null for any other
// text.
[[nodiscard]] KeyHandle readPrivateKey(std::string_view text);
