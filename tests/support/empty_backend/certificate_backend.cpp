// A certificate backend that says yes at once, so that what is measured is the daemon alone. Its
// results have the size of real ones.

#include "platform/certificate_backend.h"

#include "tests/support/empty_backend/example_values.h"

namespace {

constexpr std::int32_t SUCCESS = 200;

CreateCertResult exampleResult() {
    CreateCertResult result;
    result.code = SUCCESS;
    result.keyUsage = {"DigitalSignature", "KeyEncipherment", "ServerAuthentication"};
    result.issuer = exampleIdentifier();
    result.subject = exampleIdentifier();
    result.validNotBefore = "2026-01-01T00:00:00Z";
    result.validNotAfter = "2028-01-01T00:00:00Z";
    result.certificateString = exampleCertificateText();
    result.privateKeyValue = "/var/lib/CertificateService/installed/example.pem";
    return result;
}

} // namespace

CreateCertResult createCertificateHandler(const CreateCertRequest& /*request*/) {
    static const CreateCertResult result = exampleResult();
    return result;
}

DeleteCertResult deleteCertificateHandler(const std::string& /*certificateUri*/) {
    return {SUCCESS, {}};
}

CSRResult generateCSRHandler(const CSRRequest& /*request*/) {
    return {SUCCESS, exampleCertificateText(), {}};
}

CreateCertResult replaceCertificateHandler(const ReplaceCertRequest& /*request*/) {
    static const CreateCertResult result = exampleResult();
    return result;
}
