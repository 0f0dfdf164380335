// The exported functions: the operations with the settings of the moment, and a net below each that
// no exception passes. What failed goes to standard error; the client learns that it was not its
// fault.

#include "platform/certificate_backend.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/operations.h"

#include <openssl/err.h>

#include <cstdio>
#include <exception>

namespace {

template <typename Result>
Result machineFault(const char* handler, const char* reason) noexcept {
    static_cast<void>(
        std::fprintf(stderr, "[ERROR] certificate backend: %s: %s\n", handler, reason));
    Result result;
    result.code = 500;
    try {
        result.message = internalError();
    } catch (const std::exception&) {
        result.message = {}; // out of memory: the code alone must do
    }
    return result;
}

template <typename Result, typename Operation>
Result guarded(const char* handler, Operation operation) noexcept {
    ERR_clear_error();
    try {
        Result result = operation(currentSettings());
        ERR_clear_error(); // this thread's queue is not left with our failures
        return result;
    } catch (const std::exception& error) {
        ERR_clear_error();
        return machineFault<Result>(handler, error.what());
    } catch (...) {
        ERR_clear_error();
        return machineFault<Result>(handler, "unknown error");
    }
}

} // namespace

CreateCertResult createCertificateHandler(const CreateCertRequest& request) {
    return guarded<CreateCertResult>("create", [&](const BackendSettings& settings) {
        return installCertificate(settings, request);
    });
}

DeleteCertResult deleteCertificateHandler(const std::string& certificateUri) {
    return guarded<DeleteCertResult>("delete", [&](const BackendSettings& settings) {
        return uninstallCertificate(settings, certificateUri);
    });
}

CSRResult generateCSRHandler(const CSRRequest& request) {
    return guarded<CSRResult>("signing request", [&](const BackendSettings& settings) {
        return makeSigningRequest(settings, request);
    });
}

CreateCertResult replaceCertificateHandler(const ReplaceCertRequest& request) {
    return guarded<CreateCertResult>("replace", [&](const BackendSettings& settings) {
        return exchangeCertificate(settings, request);
    });
}
