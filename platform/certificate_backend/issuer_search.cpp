#include "platform/certificate_backend/issuer_search.h"

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/key_rules.h"

#include <openssl/x509_vfy.h>

#include <algorithm>

namespace {

constexpr std::size_t MOST_TRIALS = 2;

bool isSelfSigned(X509* certificate) {
    return !extensionCountFault(certificate) &&
           (X509_get_extension_flags(certificate) & EXFLAG_SS) != 0;
}

// By name and key identifier, whatever else speaks against it: that is for the checks to say.
bool fits(X509* issuer, X509* certificate) {
    if (!hasIssuerName(issuer, certificate)) {
        return false;
    }
    if (extensionCountFault(issuer) || extensionCountFault(certificate)) {
        return true; // nothing is read of these
    }
    const int reason = X509_check_issued(issuer, certificate);
    return reason != X509_V_ERR_AKID_SKID_MISMATCH &&
           reason != X509_V_ERR_AKID_ISSUER_SERIAL_MISMATCH;
}

bool isSignedBy(X509* issuer, X509* certificate) {
    EVP_PKEY* const key = X509_get0_pubkey(issuer);
    return !keyFault(key, ISSUER_KEY_RULES) && X509_verify(certificate, key) == 1;
}

// Smaller is better.
int rankOf(X509* issuer, const BoardClock& clock) {
    return (validityFault(issuer, clock) ? 2 : 0) + (isSelfSigned(issuer) ? 1 : 0);
}

using Places = std::vector<std::size_t>;

Places fittingPlaces(const CertificateChain& certificates, X509* certificate) {
    Places places;
    for (std::size_t place = 0; place < certificates.size(); ++place) {
        if (fits(certificates[place].get(), certificate)) {
            places.push_back(place);
        }
    }
    return places;
}

// Of several that fit the one that signed; the best of them when none of the two tried did.
std::size_t signerAmong(Places places, const CertificateChain& certificates, X509* certificate,
                        const BoardClock& clock) {
    std::stable_sort(places.begin(), places.end(), [&](std::size_t one, std::size_t other) {
        return rankOf(certificates[one].get(), clock) < rankOf(certificates[other].get(), clock);
    });
    for (std::size_t i = 0; i < std::min(places.size(), MOST_TRIALS); ++i) {
        if (isSignedBy(certificates[places[i]].get(), certificate)) {
            return places[i];
        }
    }
    return places.front();
}

CertificateHandle takeAt(CertificateChain& certificates, std::size_t place) {
    CertificateHandle taken = std::move(certificates[place]);
    certificates.erase(certificates.begin() + static_cast<std::ptrdiff_t>(place));
    return taken;
}

} // namespace

CertificateChain chainOf(CertificateChain certificates, std::size_t first,
                         const BoardClock& clock) {
    CertificateChain chain;
    chain.push_back(takeAt(certificates, first));
    while (!isSelfSigned(chain.back().get())) {
        X509* const last = chain.back().get();
        const Places places = fittingPlaces(certificates, last);
        if (places.empty()) {
            break;
        }
        const std::size_t issuer =
            places.size() == 1 ? places.front() : signerAmong(places, certificates, last, clock);
        chain.push_back(takeAt(certificates, issuer));
    }
    return chain;
}
