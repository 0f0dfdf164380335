// The exported functions: the operations in the surroundings of the moment. No exception leaves
// them: what failed goes to standard error, and the client learns that it was not its fault.

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
        Result result = operation(currentSurroundings());
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
    return guarded<CreateCertResult>("create", [&](const Surroundings& surroundings) {
        return createCertificate(surroundings, request);
    });
}

DeleteCertResult deleteCertificateHandler(const std::string& certificateUri) {
    return guarded<DeleteCertResult>("delete", [&](const Surroundings& surroundings) {
        return deleteCertificate(surroundings, certificateUri);
    });
}

CSRResult generateCSRHandler(const CSRRequest& request) {
    return guarded<CSRResult>("signing request", [&](const Surroundings& surroundings) {
        return generateCsr(surroundings, request);
    });
}

CreateCertResult replaceCertificateHandler(const ReplaceCertRequest& request) {
    return guarded<CreateCertResult>("replace", [&](const Surroundings& surroundings) {
        return replaceCertificate(surroundings, request);
    });
}
