#pragma once

// What a certificate backend cannot do without, as bare calls of OpenSSL and of the file system in
// a straight line: the floor under the reference backend. No fault is told apart from another,
// nothing is looked at twice, no message is made.

#include <string>

struct BareInput {
    std::string certificateText; // PEM, with the private key, on an elliptic curve (PKCS #8)
    std::string rootCaFile;
    std::string directory; // on the file system of the backend's own
};

// The file in the directory that stands for the installed certificate.
inline constexpr const char* BARE_CERTIFICATE_FILE = "certificate.pem";

// Each throws std::runtime_error when a call fails.

// Reads certificate and key; checks dates, key and signature strength, server use, that both belong
// together by a trial signature, and the chain up to the root; takes the properties out; writes key
// and certificate, flushed and renamed.
void bareCreate(const BareInput& input);

// The same with a look at the certificate that is installed, which is kept for one generation.
void bareReplace(const BareInput& input);

// Overwrites and removes the file, and flushes the directory.
void bareDelete(const BareInput& input);

// Makes a P-256 key, keeps it like a certificate, signs a request with a name and its extension.
void bareSigningRequest(const BareInput& input);
