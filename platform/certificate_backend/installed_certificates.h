#pragma once

// The certificates that are installed: one file for each certificate resource, with the private key
// first (for an identity) and the certificate and its chain after it.
//
// The caller holds the store's lock, for reading too when a write follows from what was read.
// Faults of the machine are thrown as std::runtime_error or std::system_error.

#include "platform/certificate_backend/certificate_text.h"

#include <optional>
#include <string>

struct InstalledCertificate {
    CertificateChain chain;
    KeyHandle privateKey; // null in a collection of trust
};

// The file that belongs to the certificate resource.
[[nodiscard]] std::string installedFile(const std::string& directory,
                                        const std::string& certificateUri);

[[nodiscard]] bool isInstalled(const std::string& directory, const std::string& certificateUri);

// What is installed; nothing when there is nothing.
[[nodiscard]] std::optional<InstalledCertificate> loadInstalled(const std::string& directory,
                                                                const std::string& certificateUri);

// Puts key (or null) and chain on disk together, in place of what was there.
void storeInstalled(const std::string& directory, const std::string& certificateUri, EVP_PKEY* key,
                    const CertificateChain& chain);

// True when it was there and is removed for good, false when there was nothing.
[[nodiscard]] bool removeInstalled(const std::string& directory, const std::string& certificateUri);
