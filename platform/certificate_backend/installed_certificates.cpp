// Key and certificate in one file: servers read both from it, and one rename replaces both.

#include "platform/certificate_backend/installed_certificates.h"

#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/store_directory.h"

#include <stdexcept>

namespace {

// What came in within the limit may have grown: by line ends, and by the private key.
constexpr std::size_t LONGEST_FILE = 4 * LONGEST_CERTIFICATE_TEXT;

std::string fileName(const std::string& certificateUri) {
    return fileNameOf(certificateUri) + ".pem";
}

} // namespace

std::string installedFile(const std::string& directory, const std::string& certificateUri) {
    return installedDirectory(directory) + "/" + fileName(certificateUri);
}

bool isInstalled(const std::string& directory, const std::string& certificateUri) {
    return fileExists(installedDirectory(directory), fileName(certificateUri));
}

std::optional<InstalledCertificate> loadInstalled(const std::string& directory,
                                                  const std::string& certificateUri) {
    const std::optional<SecretText> content =
        readFile(installedDirectory(directory), fileName(certificateUri));
    if (!content) {
        return std::nullopt;
    }
    CertificateText text = readCertificateText(*content, CertificateType::CHAIN, LONGEST_FILE);
    if (!text.fault.empty()) {
        throw std::runtime_error(installedFile(directory, certificateUri) +
                                 " is damaged: " + text.fault);
    }
    return InstalledCertificate{std::move(text.chain), std::move(text.privateKey)};
}

void storeInstalled(const std::string& directory, const std::string& certificateUri, EVP_PKEY* key,
                    const CertificateChain& chain) {
    SecretText content = key == nullptr ? SecretText() : privateKeyText(key);
    content += certificateText(chain, CertificateType::CHAIN);
    writeFileAtomically(installedDirectory(directory), fileName(certificateUri), content);
}

bool removeInstalled(const std::string& directory, const std::string& certificateUri) {
    return removeFile(installedDirectory(directory), fileName(certificateUri));
}
