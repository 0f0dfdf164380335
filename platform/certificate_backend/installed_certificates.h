#pragma once

// The certificates that are installed: one file for each certificate resource. Faults of the
// machine are thrown as std::runtime_error or std::system_error.

#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/locked_directory.h"

#include <optional>
#include <string>
#include <vector>

// The file in the backend's directory that belongs to the certificate resource.
[[nodiscard]] std::string installedFile(const std::string& directory,
                                        const std::string& certificateUri);

[[nodiscard]] bool isInstalled(const LockedDirectory& directory, const std::string& certificateUri);

// What is installed, its certificates in the order of the chain; nothing when there is nothing. In
// a collection of trust there is no private key.
[[nodiscard]] std::optional<CertificateBlocks> loadInstalled(const LockedDirectory& directory,
                                                             const std::string& certificateUri);

// Puts chain and private key (null: none) on disk together. What was there is kept as the previous
// generation, in place of the one before it.
void saveInstalled(const LockedDirectory& directory, const std::string& certificateUri,
                   const CertificateChain& chain, EVP_PKEY* privateKey);

// The text of the previous generation, with its private key where it has one; nothing when nothing
// was replaced.
[[nodiscard]] std::optional<SecretText> readPrevious(const LockedDirectory& directory,
                                                     const std::string& certificateUri);

// The resources for which something is installed: their URIs, or the names of the files whose URI
// is too long to stand in a file name.
[[nodiscard]] std::vector<std::string> listInstalled(const LockedDirectory& directory);

// True when it was there and is removed for good with its previous generation, false when there was
// nothing.
[[nodiscard]] bool removeInstalled(const LockedDirectory& directory,
                                   const std::string& certificateUri);
