#pragma once

// The certificate with which the listener shows itself: that of the board once there is one, and
// until then one that signs itself.

#include <openssl/ssl.h>

#include <memory>
#include <mutex>
#include <string>

// What a listener shows: certificates as PEM blocks, the own one first, then its issuers; and the
// own one's private key.
struct ListenerCertificate {
    std::string certificates;
    std::string privateKey; // PEM; a secret
};

// TLS 1.2 and later (RFC 8446, RFC 9325).
using TlsContext = std::shared_ptr<SSL_CTX>;

// A context of its own for each certificate: one that has shown another before would keep that
// beside the new one when their keys are of different kinds. Throws std::runtime_error when OpenSSL
// cannot use the certificate with the key.
[[nodiscard]] TlsContext tlsContextFor(const ListenerCertificate& certificate);

// A context with a certificate that is made now, signs itself, names these hosts and is valid for
// ten years; its P-256 key is kept nowhere else. Throws std::runtime_error.
[[nodiscard]] TlsContext selfSignedContext(const std::string& commonName);
