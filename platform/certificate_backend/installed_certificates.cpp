#include "platform/certificate_backend/installed_certificates.h"

#include "platform/certificate_backend/key_pair.h"
#include "platform/posix/atomic_file.h"

#include <stdexcept>

namespace {

constexpr std::string_view ENDING = ".pem";
// What came in within the limit may have grown: by line ends, and by the private key.
constexpr std::size_t LONGEST_FILE = 4 * LONGEST_CERTIFICATE_TEXT;

std::string fileName(const std::string& certificateUri) {
    return fileNameOf(certificateUri) + std::string(ENDING);
}

} // namespace

std::string installedFile(const std::string& directory, const std::string& certificateUri) {
    return installedFolder(directory) + "/" + fileName(certificateUri);
}

bool isInstalled(const LockedDirectory& directory, const std::string& certificateUri) {
    return fileExists(directory.installed(), fileName(certificateUri));
}

std::optional<CertificateBlocks> loadInstalled(const LockedDirectory& directory,
                                               const std::string& certificateUri) {
    const std::optional<SecretText> content =
        readFile(directory.installed(), fileName(certificateUri));
    if (!content) {
        return std::nullopt;
    }
    CertificateBlocks installed;
    if (const Fault fault =
            readCertificateText(*content, CertificateType::CHAIN, installed, LONGEST_FILE)) {
        throw std::runtime_error(installedFile(directory.path(), certificateUri) +
                                 " is damaged: " + *fault);
    }
    return installed;
}

void saveInstalled(const LockedDirectory& directory, const std::string& certificateUri,
                   const CertificateChain& chain, EVP_PKEY* privateKey) {
    SecretText content = privateKey == nullptr ? SecretText() : privateKeyText(privateKey);
    content += certificateText(chain, CertificateType::CHAIN);
    const std::string name = fileName(certificateUri);
    if (fileExists(directory.installed(), name)) {
        replaceFile(directory.installed(), name, content, directory.previous());
    } else {
        writeFileAtomically(directory.installed(), name, content);
    }
}

std::optional<SecretText> readPrevious(const LockedDirectory& directory,
                                       const std::string& certificateUri) {
    return readFile(directory.previous(), fileName(certificateUri));
}

std::vector<std::string> listInstalled(const LockedDirectory& directory) {
    std::vector<std::string> resources;
    for (const std::string& name : listFiles(directory.installed())) {
        if (name.ends_with(ENDING)) {
            const std::string stem = name.substr(0, name.size() - ENDING.size());
            resources.push_back(uriOfFileName(stem).value_or(name));
        }
    }
    return resources;
}

bool removeInstalled(const LockedDirectory& directory, const std::string& certificateUri) {
    // First: nothing of the certificate is left when it is gone itself.
    static_cast<void>(removeFile(directory.previous(), fileName(certificateUri)));
    return removeFile(directory.installed(), fileName(certificateUri));
}
