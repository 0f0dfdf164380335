#include "platform/certificate_backend/collection_kind.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

using Segments = std::vector<std::string_view>;

constexpr std::string_view ANY_SEGMENT = "{}";
constexpr std::string_view ANY_PLACE = "..."; // at the front of a pattern: whatever stands before

// What may stand before a pattern without "...".
constexpr std::array<std::string_view, 3> SERVICE_ROOTS = {
    "redfish/v1/CompositionService/ResourceBlocks/{}", "redfish/v1/ResourceBlocks/{}",
    "redfish/v1"};

struct CollectionPattern {
    std::string_view path;
    CollectionKind kind;
};

constexpr CollectionKind CLIENT = CollectionKind::CLIENT;
constexpr CollectionKind TRUST = CollectionKind::TRUST;

// The four names under "..." mean trust wherever a maker puts them.
constexpr std::array<CollectionPattern, 33> PATTERNS = {{
    {"EventService/Subscriptions/{}/ClientCertificates", CLIENT},
    {"Managers/{}/VirtualMedia/{}/ClientCertificates", CLIENT},
    {"Systems/{}/VirtualMedia/{}/ClientCertificates", CLIENT},
    {"UpdateService/ClientCertificates", CLIENT},
    {"AccountService/OutboundConnections/{}/ClientCertificates", CLIENT},
    {"Systems/{}/KeyManagement/KMIPClientCertificates", CLIENT},
    {"AccountService/Accounts/{}/Certificates", TRUST},
    {"AccountService/ActiveDirectory/Certificates", TRUST},
    {"AccountService/LDAP/Certificates", TRUST},
    {"AccountService/OAuth2/Certificates", TRUST},
    {"AccountService/TACACSplus/Certificates", TRUST},
    {"AccountService/ExternalAccountProviders/{}/Certificates", TRUST},
    {"AccountService/MultiFactorAuth/ClientCertificate/Certificates", TRUST},
    {"AccountService/MultiFactorAuth/SecurID/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/Accounts/{}/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/ActiveDirectory/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/LDAP/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/OAuth2/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/TACACSplus/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/ExternalAccountProviders/{}/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/MultiFactorAuth/ClientCertificate/Certificates", TRUST},
    {"Managers/{}/RemoteAccountService/MultiFactorAuth/SecurID/Certificates", TRUST},
    {"AccountService/OutboundConnections/{}/Certificates", TRUST},
    {"EventService/Subscriptions/{}/Certificates", TRUST},
    {"Managers/{}/VirtualMedia/{}/Certificates", TRUST},
    {"Systems/{}/VirtualMedia/{}/Certificates", TRUST},
    {"Systems/{}/KeyManagement/KMIPCertificates", TRUST},
    {"Systems/{}/Boot/Certificates", TRUST},
    {"Systems/{}/SecureBoot/SecureBootDatabases/{}/Certificates", TRUST},
    {".../TrustedCertificates", TRUST},
    {".../RevokedCertificates", TRUST},
    {".../RemoteServerCertificates", TRUST},
    {".../EnrollmentCACertificates", TRUST},
}};

Segments segmentsOf(std::string_view path) {
    Segments segments;
    while (true) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        segments.push_back(path.substr(0, slash));
        if (slash == path.size()) {
            return segments;
        }
        path.remove_prefix(slash + 1);
    }
}

bool isSegmentLike(std::string_view pattern, std::string_view segment) {
    return pattern == segment || (pattern == ANY_SEGMENT && !segment.empty());
}

// Whether the URI's last segments are like the pattern's.
bool endsLike(const Segments& uri, const Segments& pattern) {
    return uri.size() >= pattern.size() &&
           std::equal(pattern.rbegin(), pattern.rend(), uri.rbegin(), isSegmentLike);
}

bool isLike(const Segments& uri, const Segments& root, const Segments& pattern) {
    return uri.size() == root.size() + pattern.size() && endsLike(uri, pattern) &&
           std::equal(root.begin(), root.end(), uri.begin(), isSegmentLike);
}

bool isInPlaceOf(const Segments& uri, std::string_view path) {
    Segments pattern = segmentsOf(path);
    if (pattern.front() == ANY_PLACE) {
        pattern.erase(pattern.begin());
        return endsLike(uri, pattern);
    }
    return std::any_of(SERVICE_ROOTS.begin(), SERVICE_ROOTS.end(), [&](std::string_view root) {
        return isLike(uri, segmentsOf(root), pattern);
    });
}

} // namespace

CollectionKind collectionKindOf(std::string_view collectionUri) {
    while (collectionUri.ends_with('/')) {
        collectionUri.remove_suffix(1);
    }
    const Segments uri = segmentsOf(collectionUri.substr(collectionUri.starts_with('/') ? 1 : 0));
    const auto* found =
        std::find_if(PATTERNS.begin(), PATTERNS.end(), [&](const CollectionPattern& pattern) {
            return isInPlaceOf(uri, pattern.path);
        });
    return found == PATTERNS.end() ? CollectionKind::SERVER : found->kind;
}

bool isIdentity(CollectionKind kind) {
    return kind != CollectionKind::TRUST;
}
