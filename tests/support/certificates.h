#pragma once

// Certificates, keys and signing requests for tests, made afresh with OpenSSL. All as PEM texts.
// Everything throws std::runtime_error when OpenSSL refuses.

#include <string>
#include <utility>
#include <vector>

enum class KeyKind { RSA_1024, RSA_2048, RSA_3072, RSA_4096, EC_P256, EC_P384, EC_P521, ED25519 };

struct CertificateOptions {
    // Subject in this order, by OpenSSL's names: {"CN", "a.example"}, {"O", "Example"}, ...
    std::vector<std::pair<std::string, std::string>> subject = {{"CN", "test.example"}};
    std::string notBefore = "20200101000000Z"; // YYYYMMDDHHMMSSZ
    std::string notAfter = "20491231235959Z";
    bool ca = false; // basicConstraints, critical, with this value
    // As in OpenSSL's configuration: {"extendedKeyUsage", "serverAuth"},
    // {"keyUsage", "critical,digitalSignature"}, {"subjectAltName", "DNS:a.example"}
    std::vector<std::pair<std::string, std::string>> extensions = {};
    KeyKind key = KeyKind::EC_P256;
};

struct TestCertificate {
    std::string certificate;
    std::string privateKey; // PKCS #8
};

[[nodiscard]] std::string makePrivateKey(KeyKind kind);

// The lines between the first and the last one, to be looked for where none may be. Without a short
// last line, which could stand anywhere.
[[nodiscard]] std::vector<std::string> secretLines(const std::string& privateKey);

// A self-signed certificate with a new key.
[[nodiscard]] TestCertificate makeSelfSigned(const CertificateOptions& options = {});

// A self-signed certificate authority.
[[nodiscard]] TestCertificate makeAuthority(const std::string& commonName = "Test CA");

// A certificate with a new key, signed by the issuer; with ca set, an intermediate authority.
[[nodiscard]] TestCertificate makeSigned(const TestCertificate& issuer,
                                         const CertificateOptions& options = {});

// A certificate for a key of one's own, signed by the issuer.
[[nodiscard]] std::string certifyKey(const std::string& privateKey, const TestCertificate& issuer,
                                     const CertificateOptions& options = {});

// A signing request (PKCS #10) with options.subject and options.extensions for this key.
[[nodiscard]] std::string makeSigningRequest(const std::string& privateKey,
                                             const CertificateOptions& options = {});

// Signs the request: its subject and key; validity, ca and extensions from options.
[[nodiscard]] std::string signRequest(const std::string& request, const TestCertificate& issuer,
                                      const CertificateOptions& options = {});

// The certificates as one PKCS #7 text without signers.
[[nodiscard]] std::string makePkcs7(const std::vector<std::string>& certificates);

// The private key encrypted with a password (PKCS #8).
[[nodiscard]] std::string encryptPrivateKey(const std::string& privateKey,
                                            const std::string& password);
