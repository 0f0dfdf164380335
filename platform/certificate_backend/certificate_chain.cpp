// Order comes from names and is proved by signatures; trust is OpenSSL's path validation.

#include "platform/certificate_backend/certificate_chain.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <stdexcept>

namespace {

constexpr int AUTHENTICATION_LEVEL = 2; // 112 bits: no SHA-1, no RSA key below 2048 bits

bool isNamedAsIssuer(const CertificateChain& chain, const CertificateHandle& candidate) {
    return std::any_of(chain.begin(), chain.end(), [&](const CertificateHandle& other) {
        return other != candidate && X509_NAME_cmp(X509_get_issuer_name(other.get()),
                                                   X509_get_subject_name(candidate.get())) == 0;
    });
}

bool isSignedBy(const CertificateHandle& certificate, const CertificateHandle& issuer) {
    return X509_check_issued(issuer.get(), certificate.get()) == X509_V_OK &&
           X509_verify(certificate.get(), X509_get0_pubkey(issuer.get())) == 1;
}

bool hasDuplicate(const CertificateChain& chain) {
    for (auto one = chain.begin(); one != chain.end(); ++one) {
        if (std::any_of(one + 1, chain.end(), [&](const CertificateHandle& other) {
                return X509_cmp(one->get(), other.get()) == 0;
            })) {
            return true;
        }
    }
    return false;
}

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

std::string orderChain(CertificateChain& chain) {
    if (hasDuplicate(chain)) {
        return "the text holds a certificate twice";
    }
    auto next = std::find_if(chain.begin(), chain.end(), [&](const CertificateHandle& candidate) {
        return !isNamedAsIssuer(chain, candidate);
    });
    for (auto place = chain.begin(); place != chain.end(); ++place) {
        if (next == chain.end()) {
            return "the certificates of the text do not form one chain";
        }
        std::rotate(place, next, next + 1);
        next = std::find_if(place + 1, chain.end(), [&](const CertificateHandle& issuer) {
            return isSignedBy(*place, issuer);
        });
    }
    return {};
}

std::string rootFault(const CertificateChain& chain, const std::string& rootCaFile,
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
        return {};
    }
    return std::string("the certificate does not lead to a trusted root: ") +
           X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get()));
}
