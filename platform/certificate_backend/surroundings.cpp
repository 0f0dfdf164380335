// The configuration is read at every call: no cache to fill, nothing to lock. Its reader tells a
// file that cannot be read from one without the key by nothing but a line on standard error, so the
// file is looked at first: what is configured must not be taken for left out.

#include "platform/certificate_backend/surroundings.h"

#include "platform/configuration.h"
#include "platform/posix/file_descriptor.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace {

constexpr const char* CONFIGURATION_FILE = "/usr/local/etc/nginx/CertificateService.conf";
constexpr const char* DIRECTORY_KEY = "CERTIFICATE_DIRECTORY";
constexpr const char* ROOT_KEY = "ROOT_CA_FILE";
constexpr const char* DEFAULT_DIRECTORY = "/var/lib/CertificateService";
constexpr std::size_t LONGEST_FILE = std::size_t{1} << 20; // that the configuration's reader takes
constexpr int LONGEST_VALUE = static_cast<int>(LONGEST_FILE) + 1;

[[noreturn]] void unusable(const std::string& reason) {
    throw std::runtime_error(std::string("the configuration ") + CONFIGURATION_FILE +
                             " cannot be read: " + reason);
}

// A file that is not there is a normal state.
void requireReadableConfiguration() {
    const FileDescriptor file = openForReading(CONFIGURATION_FILE);
    if (file.get() < 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return;
        }
        unusable(std::generic_category().message(errno));
    }
    if (!isRegularFile(file)) {
        unusable("it is no regular file");
    }
    const std::optional<std::string> content = readContent(file, LONGEST_FILE);
    if (!content) {
        unusable(std::generic_category().message(errno));
    }
    if (content->size() > LONGEST_FILE) {
        unusable("it has more than " + std::to_string(LONGEST_FILE) + " bytes");
    }
    if (content->find('\0') != std::string::npos) {
        unusable("it holds a NUL character");
    }
}

std::string valueOf(const char* key) {
    return getConfigValue(CONFIGURATION_FILE, key, LONGEST_VALUE);
}

std::string certificateDirectory() {
    std::string directory = valueOf(DIRECTORY_KEY);
    if (directory.empty()) {
        directory = DEFAULT_DIRECTORY;
    }
    if (!directory.starts_with('/')) {
        throw std::runtime_error("CERTIFICATE_DIRECTORY is not an absolute path");
    }
    while (directory.size() > 1 && directory.ends_with('/')) {
        directory.pop_back();
    }
    return directory;
}

} // namespace

Surroundings currentSurroundings() {
    requireReadableConfiguration();
    return {certificateDirectory(), systemClock(), valueOf(ROOT_KEY)};
}
