// Redfish gives collections of trust fixed names. Every other collection holds identities.

#include "platform/certificate_backend/collection_kind.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::string_view, 4> TRUST_COLLECTIONS = {
    "TrustedCertificates", "RemoteServerCertificates", "RevokedCertificates",
    "EnrollmentCACertificates"};
constexpr std::array<std::string_view, 2> TRUST_PARENTS = {"SecureBootDatabases", "Boot"};

template <typename Names>
bool holds(const Names& names, std::string_view segment) {
    return std::find(names.begin(), names.end(), segment) != names.end();
}

} // namespace

CollectionKind collectionKindOf(std::string_view collectionUri) {
    while (collectionUri.ends_with('/')) {
        collectionUri.remove_suffix(1);
    }
    for (std::size_t slash = collectionUri.find('/'); slash != std::string_view::npos;
         slash = collectionUri.find('/')) {
        if (holds(TRUST_PARENTS, collectionUri.substr(0, slash))) {
            return CollectionKind::TRUST;
        }
        collectionUri.remove_prefix(slash + 1);
    }
    return holds(TRUST_COLLECTIONS, collectionUri) ? CollectionKind::TRUST
                                                   : CollectionKind::IDENTITY;
}
