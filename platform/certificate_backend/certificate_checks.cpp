// The checks go from cheap to costly: dates and sizes of every certificate first, signatures last.

#include "platform/certificate_backend/certificate_checks.h"

#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/trusted_root.h"
#include "platform/x509/dates.h"

#include <openssl/objects.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr int SMALLEST_RSA_BITS = 2048;
constexpr int LARGEST_RSA_BITS = 8192;
constexpr int LEAST_SIGNATURE_BITS = 112;
constexpr std::array<std::string_view, 3> CURVES = {"prime256v1", "secp384r1", "secp521r1"};

bool isCurveAllowed(EVP_PKEY* key) {
    std::array<char, 64> name{};
    return EVP_PKEY_get_group_name(key, name.data(), name.size(), nullptr) == 1 &&
           std::find(CURVES.begin(), CURVES.end(), name.data()) != CURVES.end();
}

std::string keyTypeFault(EVP_PKEY* key) {
    if (key == nullptr) {
        return "the certificate's public key cannot be read";
    }
    switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS: {
        const int bits = EVP_PKEY_get_bits(key);
        return bits >= SMALLEST_RSA_BITS && bits <= LARGEST_RSA_BITS
                   ? ""
                   : "the certificate's RSA key has " + std::to_string(bits) +
                         " bits, not 2048 to 8192";
    }
    case EVP_PKEY_EC:
        return isCurveAllowed(key)
                   ? ""
                   : "the certificate's key is not on the curve P-256, P-384 or P-521";
    case EVP_PKEY_ED25519:
        return {};
    default:
        return "the certificate's key is neither RSA nor P-256, P-384, P-521 or Ed25519";
    }
}

bool isSelfSigned(X509* certificate) {
    return (X509_get_extension_flags(certificate) & EXFLAG_SS) != 0;
}

} // namespace

std::string validityFault(X509* certificate, const BoardClock& clock) {
    std::optional<std::tm> start = utcTime(X509_get0_notBefore(certificate));
    std::optional<std::tm> end = utcTime(X509_get0_notAfter(certificate));
    if (!start || !end) {
        return "the certificate's validity dates cannot be read";
    }
    if (timegm(&*end) < knownTime(clock)) {
        return "the certificate expired at " + isoTime(*end);
    }
    if (timegm(&*start) > clock.now && !isUnset(clock)) {
        return "the certificate is not valid before " + isoTime(*start);
    }
    return {};
}

std::string keyFault(X509* certificate) {
    return (X509_get_extension_flags(certificate) & EXFLAG_INVALID) != 0
               ? "the certificate's extensions cannot be read"
               : keyTypeFault(X509_get0_pubkey(certificate));
}

std::string signatureFault(X509* certificate) {
    int bits = 0;
    if (X509_get_signature_info(certificate, nullptr, nullptr, &bits, nullptr) == 1 &&
        bits >= LEAST_SIGNATURE_BITS) {
        return {};
    }
    const char* algorithm = OBJ_nid2ln(X509_get_signature_nid(certificate));
    return std::string("the certificate's signature is too weak: ") +
           (algorithm == nullptr ? "unknown algorithm" : algorithm);
}

std::string serverUseFault(X509* certificate) {
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    if ((flags & EXFLAG_CA) != 0 && (flags & EXFLAG_SS) == 0) {
        return "the certificate is that of a certification authority";
    }
    const std::uint32_t uses = X509_get_extended_key_usage(certificate);
    const bool forServers =
        (flags & EXFLAG_XKUSAGE) == 0 || (uses & (XKU_SSL_SERVER | XKU_ANYEKU)) != 0;
    return forServers ? "" : "the certificate's extended key usage lacks server authentication";
}

std::string privateKeyFault(const CertificateText& text, CollectionKind kind) {
    if (!text.privateKey) {
        return {};
    }
    if (kind == CollectionKind::TRUST) {
        return "the text holds a private key, which does not belong into a collection of trusted "
               "certificates";
    }
    return keysBelongTogether(text.privateKey.get(), X509_get0_pubkey(text.chain.front().get()))
               ? ""
               : "the private key of the text does not belong to the certificate";
}

std::string admissionFault(const CertificateText& text, CollectionKind kind,
                           const std::string& rootCaFile, const BoardClock& clock) {
    for (const CertificateHandle& certificate : text.chain) {
        std::string fault = validityFault(certificate.get(), clock);
        fault = fault.empty() ? keyFault(certificate.get()) : fault;
        const bool isIdentity =
            kind == CollectionKind::IDENTITY && certificate == text.chain.front();
        if (fault.empty() && (isIdentity || !isSelfSigned(certificate.get()))) {
            fault = signatureFault(certificate.get());
        }
        if (!fault.empty()) {
            return fault;
        }
    }
    std::string fault = privateKeyFault(text, kind);
    if (kind == CollectionKind::TRUST || !fault.empty()) {
        return fault;
    }
    fault = serverUseFault(text.chain.front().get());
    return fault.empty() && !rootCaFile.empty() ? rootFault(text.chain, rootCaFile, clock) : fault;
}
