#pragma once

// What the certificates of a collection are for.

#include <string_view>

enum class CollectionKind {
    IDENTITY, // certificates by which this board proves who it is: a private key belongs to each
    TRUST,    // certificates of others, against which they are judged: no private key belongs here
};

// The URI decides: trust when its last segment is TrustedCertificates,
// RemoteServerCertificates, RevokedCertificates or EnrollmentCACertificates, or when any segment
// before it is SecureBootDatabases or Boot; identity otherwise.
[[nodiscard]] CollectionKind collectionKindOf(std::string_view collectionUri);
