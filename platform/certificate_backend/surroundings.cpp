// The configuration is read at every call: no cache to fill, nothing to lock.

#include "platform/certificate_backend/surroundings.h"

#include "platform/configuration.h"

#include <stdexcept>

namespace {

constexpr const char* CONFIGURATION_FILE = "/usr/local/etc/nginx/CertificateService.conf";
constexpr const char* DIRECTORY_KEY = "CERTIFICATE_DIRECTORY";
constexpr const char* DEFAULT_DIRECTORY = "/var/lib/CertificateService";
constexpr int LONGEST_DIRECTORY = 1024;

} // namespace

Surroundings currentSurroundings() {
    std::string directory = getConfigValue(CONFIGURATION_FILE, DIRECTORY_KEY, LONGEST_DIRECTORY);
    if (directory.empty()) {
        directory = DEFAULT_DIRECTORY;
    }
    if (!directory.starts_with('/')) {
        throw std::runtime_error("CERTIFICATE_DIRECTORY is not an absolute path");
    }
    while (directory.size() > 1 && directory.ends_with('/')) {
        directory.pop_back();
    }
    return {directory, systemClock()};
}
