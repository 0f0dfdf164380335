#include "platform/certificate_backend/trusted_root.h"

#include <openssl/x509_vfy.h>

#include <stdexcept>

namespace {

constexpr int AUTHENTICATION_LEVEL = 2; // 112 bits: no SHA-1, no RSA key below 2048 bits

struct FreeStack {
    void operator()(STACK_OF(X509) * stack) const {
        sk_X509_free(stack); // the certificates stay their owner's
    }
};
using StackHandle = std::unique_ptr<STACK_OF(X509), FreeStack>;

StackHandle issuersOf(const CertificateChain& chain) {
    StackHandle stack(sk_X509_new_null());
    for (auto issuer = chain.begin() + 1; issuer != chain.end(); ++issuer) {
        if (!stack || sk_X509_push(stack.get(), issuer->get()) == 0) {
            throw std::runtime_error("cannot collect the certificates of a chain");
        }
    }
    return stack;
}

StoreHandle loadRoots(const std::string& rootCaFile) {
    StoreHandle store(X509_STORE_new());
    if (!store || X509_STORE_load_file(store.get(), rootCaFile.c_str()) != 1) {
        throw std::runtime_error("cannot read trusted roots from " + rootCaFile);
    }
    return store;
}

} // namespace

Fault rootFault(const CertificateChain& chain, const std::string& rootCaFile,
                const BoardClock& clock) {
    const StoreHandle roots = loadRoots(rootCaFile);
    const StackHandle issuers = issuersOf(chain);
    const StoreContextHandle context(X509_STORE_CTX_new());
    if (!context ||
        X509_STORE_CTX_init(context.get(), roots.get(), chain.front().get(), issuers.get()) != 1) {
        throw std::runtime_error("cannot prepare the validation of a certificate");
    }
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
    X509_VERIFY_PARAM_set_auth_level(parameters, AUTHENTICATION_LEVEL);
    X509_VERIFY_PARAM_set_purpose(parameters, X509_PURPOSE_SSL_SERVER);
    if (isUnset(clock)) {
        X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_NO_CHECK_TIME);
    } else {
        X509_VERIFY_PARAM_set_time(parameters, clock.now);
    }
    if (X509_verify_cert(context.get()) == 1) {
        return std::nullopt;
    }
    return std::string("the certificate does not lead to a trusted root: ") +
           X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get()));
}
