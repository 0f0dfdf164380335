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

// The thread's queue of OpenSSL errors is empty for the operation, and holds none of it afterwards.
struct CleanErrorQueue {
    CleanErrorQueue() {
        ERR_clear_error();
    }
    ~CleanErrorQueue() {
        ERR_clear_error();
    }
    CleanErrorQueue(const CleanErrorQueue&) = delete;
    CleanErrorQueue& operator=(const CleanErrorQueue&) = delete;
};

template <typename Result, typename Operation>
Result guarded(const char* handler, Operation operation) noexcept {
    const CleanErrorQueue queue;
    try {
        return operation(currentSurroundings());
    } catch (const std::exception& error) {
        return machineFault<Result>(handler, error.what());
    } catch (...) {
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
