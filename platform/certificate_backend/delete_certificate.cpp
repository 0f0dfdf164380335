// Certificate and private key share one file, so one removal is all.

#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/operations.h"

DeleteCertResult deleteCertificate(const Surroundings& surroundings,
                                   const std::string& certificateUri) {
    const LockedDirectory directory(surroundings.directory);
    if (!removeInstalled(directory, certificateUri)) {
        return {400, resourceMissingAtUri(certificateUri)};
    }
    return {200, {}};
}
