#include "platform/certificate_backend/trusted_root.h"

#include <openssl/x509_vfy.h>

#include <stdexcept>

namespace {

constexpr int AUTHENTICATION_LEVEL = 2; // 112 bits: no SHA-1, no RSA key below 2048 bits

CertificateListHandle issuersOf(const CertificateChain& chain) {
    CertificateListHandle list(sk_X509_new_null());
    for (auto issuer = chain.begin() + 1; issuer != chain.end(); ++issuer) {
        if (!list || sk_X509_push(list.get(), issuer->get()) == 0) {
            throw std::runtime_error("cannot collect the certificates of a chain");
        }
    }
    return list;
}

RootsHandle loadRoots(const std::string& rootCaFile) {
    RootsHandle roots(X509_STORE_new());
    if (!roots || X509_STORE_load_file(roots.get(), rootCaFile.c_str()) != 1) {
        throw std::runtime_error("cannot read trusted roots from " + rootCaFile);
    }
    return roots;
}

void setRules(X509_VERIFY_PARAM* rules, const BoardClock& clock) {
    X509_VERIFY_PARAM_set_auth_level(rules, AUTHENTICATION_LEVEL);
    X509_VERIFY_PARAM_set_purpose(rules, X509_PURPOSE_SSL_SERVER);
    if (isUnset(clock)) {
        X509_VERIFY_PARAM_set_flags(rules, X509_V_FLAG_NO_CHECK_TIME);
    } else {
        X509_VERIFY_PARAM_set_time(rules, clock.now);
    }
}

} // namespace

Fault rootFault(const CertificateChain& chain, const std::string& rootCaFile,
                const BoardClock& clock) {
    const RootsHandle roots = loadRoots(rootCaFile);
    const CertificateListHandle issuers = issuersOf(chain);
    const ValidationHandle validation(X509_STORE_CTX_new());
    if (!validation || X509_STORE_CTX_init(validation.get(), roots.get(), chain.front().get(),
                                           issuers.get()) != 1) {
        throw std::runtime_error("cannot prepare the validation of a certificate");
    }
    setRules(X509_STORE_CTX_get0_param(validation.get()), clock);
    if (X509_verify_cert(validation.get()) == 1) {
        return std::nullopt;
    }
    return std::string("the certificate does not lead to a trusted root: ") +
           X509_verify_cert_error_string(X509_STORE_CTX_get_error(validation.get()));
}
