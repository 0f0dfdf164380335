// Deletion: certificate and private key share one file, so one removal is all.

#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/store_directory.h"

DeleteCertResult uninstallCertificate(const BackendSettings& settings,
                                      const std::string& certificateUri) {
    const OpenFile lock = lockStore(settings.directory);
    if (!removeInstalled(settings.directory, certificateUri)) {
        return {400, resourceMissingAtUri(certificateUri)};
    }
    return {200, {}};
}
