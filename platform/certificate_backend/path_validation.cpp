#include "platform/certificate_backend/path_validation.h"

#include "platform/certificate_backend/certificate_naming.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

constexpr int AUTHENTICATION_LEVEL = 2; // 112 bits: no SHA-1, no RSA key below 2048 bits

struct FaultSentence {
    int error;
    const char* sentence; // what is said of the certificate at fault, and what would be accepted
};

constexpr std::array<FaultSentence, 16> SENTENCES = {{
    {X509_V_ERR_CERT_SIGNATURE_FAILURE,
     "is not signed by the issuer that follows it. Send the certificates of its real issuers."},
    {X509_V_ERR_INVALID_CA,
     "is no certification authority, but another certificate is said to be issued by it. Send one "
     "that an authority issued."},
    {X509_V_ERR_PATH_LENGTH_EXCEEDED,
     "allows fewer certificates below it. Send one that was issued within its path length."},
    {X509_V_ERR_INVALID_PURPOSE,
     "may not be used for this collection's purpose, by its key usage or extended key usage. Send "
     "one that may."},
    {X509_V_ERR_UNHANDLED_CRITICAL_EXTENSION,
     "has a critical extension that is not known here. Have it issued without."},
    {X509_V_ERR_PROXY_CERTIFICATES_NOT_ALLOWED,
     "is a proxy certificate. Send one that an authority issued."},
    {X509_V_ERR_PERMITTED_VIOLATION,
     "has a name that its issuers' name constraints do not permit. Have it issued with another."},
    {X509_V_ERR_EXCLUDED_VIOLATION,
     "has a name that its issuers' name constraints exclude. Have it issued with another."},
    {X509_V_ERR_CERT_REJECTED,
     "is rejected for this purpose by its trust settings in the root CA file. Send one that leads "
     "to another root."},
    {X509_V_ERR_CERT_UNTRUSTED,
     "is not trusted for this purpose by its trust settings in the root CA file. Send one that "
     "leads to another root."},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT,
     "is self-signed and none of the configured roots. Send one that leads to a root."},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN,
     "is a root, but none of the configured ones. Send one that leads to one of these."},
    {X509_V_ERR_CA_KEY_TOO_SMALL, "has a key that is too weak. Send one with a longer key."},
    {X509_V_ERR_CA_MD_TOO_WEAK,
     "has a signature that is too weak. Have it issued with SHA-256 or longer."},
    {X509_V_ERR_CERT_HAS_EXPIRED, "has expired. Send one that is valid now."},
    {X509_V_ERR_CERT_NOT_YET_VALID,
     "is not valid yet. Send one that is valid now, or set the clock."},
}};

bool lacksIssuer(int error) {
    return error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY ||
           error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT ||
           error == X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE;
}

std::string sentenceOf(int error, X509* certificate) {
    if (lacksIssuer(error)) {
        return "was issued by " + issuerNaming(certificate) +
               ", which may not be its issuer or is neither in the text nor a configured root. "
               "Send the chain up to one of the roots.";
    }
    const auto* found =
        std::find_if(SENTENCES.begin(), SENTENCES.end(),
                     [&](const FaultSentence& known) { return known.error == error; });
    return found == SENTENCES.end()
               ? std::string("is refused: ") + X509_verify_cert_error_string(error) +
                     ". Send one that is not."
               : found->sentence;
}

CertificateListHandle listOf(const CertificateChain& chain) {
    CertificateListHandle list(sk_X509_new_null());
    for (const CertificateHandle& certificate : chain) {
        if (!list || sk_X509_push(list.get(), certificate.get()) == 0) {
            throw std::runtime_error("cannot collect the certificates of a chain");
        }
    }
    return list;
}

// A clock that is not set says nothing about the future.
int forgiveEarlyStart(int isGood, X509_STORE_CTX* validation) {
    return isGood == 1 || X509_STORE_CTX_get_error(validation) == X509_V_ERR_CERT_NOT_YET_VALID ? 1
                                                                                                : 0;
}

// The trust is set beside the purpose: otherwise a root's own trust settings would not count.
void setPurpose(X509_VERIFY_PARAM* parameters, CollectionKind kind) {
    if (isIdentity(kind)) {
        const bool isServer = kind == CollectionKind::SERVER;
        X509_VERIFY_PARAM_set_purpose(parameters,
                                      isServer ? X509_PURPOSE_SSL_SERVER : X509_PURPOSE_SSL_CLIENT);
        X509_VERIFY_PARAM_set_trust(parameters,
                                    isServer ? X509_TRUST_SSL_SERVER : X509_TRUST_SSL_CLIENT);
    }
}

void setRules(X509_STORE_CTX* validation, const PathRules& rules) {
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(validation);
    X509_VERIFY_PARAM_set_auth_level(parameters, AUTHENTICATION_LEVEL);
    X509_VERIFY_PARAM_set_time(parameters, knownTime(rules.clock));
    setPurpose(parameters, rules.kind);
    if (isUnset(rules.clock)) {
        X509_STORE_CTX_set_verify_cb(validation, forgiveEarlyStart);
    }
}

Fault faultOf(X509_STORE_CTX* validation) {
    if (X509_verify_cert(validation) == 1) {
        return std::nullopt;
    }
    X509* const certificate = X509_STORE_CTX_get_current_cert(validation);
    const int error = X509_STORE_CTX_get_error(validation);
    if (certificate == nullptr) {
        throw std::runtime_error(std::string("cannot validate a certificate: ") +
                                 X509_verify_cert_error_string(error));
    }
    const auto depth = static_cast<std::size_t>(X509_STORE_CTX_get_error_depth(validation));
    return saidOf(certificate, depth, sentenceOf(error, certificate));
}

Fault faultBefore(X509_STORE* trusted, const CertificateChain& chain, const PathRules& rules,
                  unsigned long flags) {
    const CertificateListHandle certificates = listOf(chain);
    const ValidationHandle validation(X509_STORE_CTX_new());
    if (!validation || X509_STORE_CTX_init(validation.get(), trusted, chain.front().get(),
                                           certificates.get()) != 1) {
        throw std::runtime_error("cannot prepare the validation of a certificate");
    }
    setRules(validation.get(), rules);
    X509_STORE_CTX_set_flags(validation.get(), flags);
    return faultOf(validation.get());
}

} // namespace

Fault chainFault(const CertificateChain& chain, const PathRules& rules) {
    const RootsHandle last(X509_STORE_new());
    if (!last || X509_STORE_add_cert(last.get(), chain.back().get()) != 1) {
        throw std::runtime_error("cannot prepare the validation of a chain");
    }
    return faultBefore(last.get(), chain, rules, X509_V_FLAG_PARTIAL_CHAIN);
}

Fault rootFault(const CertificateChain& chain, X509_STORE* roots, const PathRules& rules) {
    return faultBefore(roots, chain, rules, 0);
}
