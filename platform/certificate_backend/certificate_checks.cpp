#include "platform/certificate_backend/certificate_checks.h"

#include "platform/x509/dates.h"

#include <openssl/objects.h>

#include <string>

namespace {

constexpr int LEAST_SIGNATURE_BITS = 112;
constexpr int MOST_EXTENSIONS = 64;

struct IdentityUse {
    std::uint32_t keyUsage; // one of these bits
    std::uint32_t purpose;
    const char* keyUsages;
    const char* purposeName;
};

constexpr IdentityUse SERVER_USE = {
    KU_DIGITAL_SIGNATURE | KU_KEY_ENCIPHERMENT | KU_KEY_AGREEMENT, XKU_SSL_SERVER,
    "digitalSignature, keyEncipherment or keyAgreement", "serverAuth"};
constexpr IdentityUse CLIENT_USE = {KU_DIGITAL_SIGNATURE | KU_KEY_AGREEMENT, XKU_SSL_CLIENT,
                                    "digitalSignature or keyAgreement", "clientAuth"};

} // namespace

Fault validityFault(X509* certificate, const BoardClock& clock) {
    std::optional<std::tm> start = utcTime(X509_get0_notBefore(certificate));
    std::optional<std::tm> end = utcTime(X509_get0_notAfter(certificate));
    if (!start || !end) {
        return "has validity dates that cannot be read. Have it issued again.";
    }
    if (timegm(&*end) <= knownTime(clock)) {
        return "expired at " + isoTime(*end) + ". Send one that is valid now.";
    }
    if (timegm(&*start) > clock.now && !isUnset(clock)) {
        return "is not valid before " + isoTime(*start) +
               ". Send one that is valid now, or set the clock.";
    }
    return std::nullopt;
}

Fault extensionCountFault(X509* certificate) {
    if (X509_get_ext_count(certificate) <= MOST_EXTENSIONS) {
        return std::nullopt;
    }
    return "has more than " + std::to_string(MOST_EXTENSIONS) +
           " extensions. Have it issued with fewer.";
}

Fault extensionsFault(X509* certificate) {
    if ((X509_get_extension_flags(certificate) & EXFLAG_INVALID) == 0) {
        return std::nullopt;
    }
    return "has extensions that cannot be read, or one of them twice. Have it issued again.";
}

Fault signatureFault(X509* certificate) {
    int bits = 0;
    if (X509_get_signature_info(certificate, nullptr, nullptr, &bits, nullptr) == 1 &&
        bits >= LEAST_SIGNATURE_BITS) {
        return std::nullopt;
    }
    const char* algorithm = OBJ_nid2ln(X509_get_signature_nid(certificate));
    return std::string("has a signature that is too weak (") +
           (algorithm == nullptr ? "unknown algorithm" : algorithm) +
           "). Have it issued with SHA-256 or longer.";
}

Fault identityUseFault(X509* certificate, CollectionKind kind) {
    const IdentityUse& use = kind == CollectionKind::CLIENT ? CLIENT_USE : SERVER_USE;
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    if ((flags & EXFLAG_CA) != 0 && (flags & EXFLAG_SS) == 0) {
        return "is that of a certification authority. Send one with basicConstraints CA:FALSE.";
    }
    if ((X509_get_key_usage(certificate) & use.keyUsage) == 0) {
        return std::string("has a key usage without ") + use.keyUsages +
               ". Have it issued with one of these, or without a key usage.";
    }
    if ((flags & EXFLAG_XKUSAGE) != 0 &&
        (X509_get_extended_key_usage(certificate) & use.purpose) == 0) {
        return std::string("has an extended key usage without ") + use.purposeName +
               ". Have it issued with it, or without an extended key usage.";
    }
    return std::nullopt;
}
