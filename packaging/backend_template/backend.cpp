// A certificate backend to begin with. It keeps what holds for every backend: no exception leaves a
// handler, and what fails is told as the service's fault. It installs nothing yet; each handler
// says what belongs in it. `certificate-backend-check libcertificate_backend.so.1` tells how far it
// is.

#include "platform/certificate_backend.h"

#include <cstdio>
#include <exception>

namespace {

// Redfish messages that most backends need; the arguments are in registry order.
MessageInfo internalError() {
    return {"Base.1.9.InternalError", {}, {}};
}

[[maybe_unused]] MessageInfo unusableText(const std::string& why) {
    return {
        "Base.1.9.PropertyValueFormatError", {why, "CertificateString"}, {"#/CertificateString"}};
}

[[maybe_unused]] MessageInfo nothingThere(const std::string& uri) {
    return {"Base.1.9.ResourceMissingAtURI", {uri}, {}};
}

template <typename Result>
Result failed(const char* handler, const char* reason) noexcept {
    static_cast<void>(std::fprintf(stderr, "[ERROR] board backend: %s: %s\n", handler, reason));
    Result result;
    result.code = 500;
    try {
        result.message = internalError();
    } catch (...) {
        result.message = {}; // out of memory: the code alone must do
    }
    return result;
}

// The operation's result, or code 500 when it throws.
template <typename Result, typename Operation>
Result guarded(const char* handler, Operation operation) noexcept {
    try {
        return operation();
    } catch (const std::exception& error) {
        return failed<Result>(handler, error.what());
    } catch (...) {
        return failed<Result>(handler, "unknown error");
    }
}

// Read the text by request.certificateType, and judge it: shape and size first, then keys, dates,
// use, and the chain up to request.rootCaFile when that is not empty. A refusal is code 400 with a
// message that says why. Never overwrite what is installed as collectionUri + "/" + certificateId.
// Write key and certificate so that a power cut leaves both or neither, the key for its owner
// alone. For code 200 fill in all members but the message; privateKeyValue says where the key is
// kept.
CreateCertResult install(const CreateCertRequest& /*request*/) {
    return failed<CreateCertResult>("create", "not made yet");
}

// Take the certificate out of use and overwrite its key. Code 400 with nothingThere when there is
// none.
DeleteCertResult remove(const std::string& /*certificateUri*/) {
    return failed<DeleteCertResult>("delete", "not made yet");
}

// Make a new key pair and keep its private key until a certificate for it is created in
// request.collectionUri. Answer with the request as PEM text (PKCS #10, RFC 2986). Several may be
// outstanding at once.
CSRResult makeRequest(const CSRRequest& /*request*/) {
    return failed<CSRResult>("signing request", "not made yet");
}

// As install, but in the place of what is installed at request.certificateUri, all or nothing; its
// private key serves on when the new text has none and fits. For the same text code 200 with the
// message Base.1.9.NoOperation, and nothing is touched.
CreateCertResult exchange(const ReplaceCertRequest& /*request*/) {
    return failed<CreateCertResult>("replace", "not made yet");
}

} // namespace

// Called on different threads, at the same time too: guard what they share.

CreateCertResult createCertificateHandler(const CreateCertRequest& request) {
    return guarded<CreateCertResult>("create", [&] { return install(request); });
}

DeleteCertResult deleteCertificateHandler(const std::string& certificateUri) {
    return guarded<DeleteCertResult>("delete", [&] { return remove(certificateUri); });
}

CSRResult generateCSRHandler(const CSRRequest& request) {
    return guarded<CSRResult>("signing request", [&] { return makeRequest(request); });
}

CreateCertResult replaceCertificateHandler(const ReplaceCertRequest& request) {
    return guarded<CreateCertResult>("replace", [&] { return exchange(request); });
}
