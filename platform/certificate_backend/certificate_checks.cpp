// The cheap checks come first: dates and sizes of every certificate, signatures last.

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

Fault rsaFault(EVP_PKEY* key) {
    const int bits = EVP_PKEY_get_bits(key);
    if (bits < SMALLEST_RSA_BITS || bits > LARGEST_RSA_BITS) {
        return "the certificate's RSA key has " + std::to_string(bits) + " bits, not 2048 to 8192";
    }
    return std::nullopt;
}

Fault keyTypeFault(EVP_PKEY* key) {
    if (key == nullptr) {
        return "the certificate's public key cannot be read";
    }
    switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
        return rsaFault(key);
    case EVP_PKEY_EC:
        if (!isCurveAllowed(key)) {
            return "the certificate's key is not on the curve P-256, P-384 or P-521";
        }
        return std::nullopt;
    case EVP_PKEY_ED25519:
        return std::nullopt;
    default:
        return "the certificate's key is neither RSA nor P-256, P-384, P-521 or Ed25519";
    }
}

bool isSelfSigned(X509* certificate) {
    return (X509_get_extension_flags(certificate) & EXFLAG_SS) != 0;
}

Fault certificateFault(X509* certificate, bool signatureCounts, const BoardClock& clock) {
    if (Fault fault = validityFault(certificate, clock)) {
        return fault;
    }
    if (Fault fault = keyFault(certificate)) {
        return fault;
    }
    return signatureCounts ? signatureFault(certificate) : std::nullopt;
}

Fault identityFault(const CertificateChain& chain, const std::string& rootCaFile,
                    const BoardClock& clock) {
    if (Fault fault = serverUseFault(chain.front().get())) {
        return fault;
    }
    return rootCaFile.empty() ? std::nullopt : rootFault(chain, rootCaFile, clock);
}

} // namespace

Fault validityFault(X509* certificate, const BoardClock& clock) {
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
    return std::nullopt;
}

Fault keyFault(X509* certificate) {
    if ((X509_get_extension_flags(certificate) & EXFLAG_INVALID) != 0) {
        return "the certificate's extensions cannot be read";
    }
    return keyTypeFault(X509_get0_pubkey(certificate));
}

Fault signatureFault(X509* certificate) {
    int bits = 0;
    if (X509_get_signature_info(certificate, nullptr, nullptr, &bits, nullptr) == 1 &&
        bits >= LEAST_SIGNATURE_BITS) {
        return std::nullopt;
    }
    const char* algorithm = OBJ_nid2ln(X509_get_signature_nid(certificate));
    return std::string("the certificate's signature is too weak: ") +
           (algorithm == nullptr ? "unknown algorithm" : algorithm);
}

Fault serverUseFault(X509* certificate) {
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    if ((flags & EXFLAG_CA) != 0 && (flags & EXFLAG_SS) == 0) {
        return "the certificate is that of a certification authority";
    }
    const std::uint32_t uses = X509_get_extended_key_usage(certificate);
    if ((flags & EXFLAG_XKUSAGE) != 0 && (uses & (XKU_SSL_SERVER | XKU_ANYEKU)) == 0) {
        return "the certificate's extended key usage lacks server authentication";
    }
    return std::nullopt;
}

Fault privateKeyFault(const ChainAndKey& certificate, CollectionKind kind) {
    if (!certificate.privateKey) {
        return std::nullopt;
    }
    if (kind == CollectionKind::TRUST) {
        return "the text holds a private key, which does not belong into a collection of trusted "
               "certificates";
    }
    if (!keysBelongTogether(certificate.privateKey.get(),
                            X509_get0_pubkey(certificate.chain.front().get()))) {
        return "the private key of the text does not belong to the certificate";
    }
    return std::nullopt;
}

Fault admissionFault(const ChainAndKey& certificate, CollectionKind kind,
                     const std::string& rootCaFile, const BoardClock& clock) {
    const CertificateHandle& first = certificate.chain.front();
    const bool isIdentity = kind == CollectionKind::IDENTITY;
    for (const CertificateHandle& each : certificate.chain) {
        const bool signatureCounts = (isIdentity && each == first) || !isSelfSigned(each.get());
        if (Fault fault = certificateFault(each.get(), signatureCounts, clock)) {
            return fault;
        }
    }
    Fault fault = privateKeyFault(certificate, kind);
    return fault || !isIdentity ? fault : identityFault(certificate.chain, rootCaFile, clock);
}
