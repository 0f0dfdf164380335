#pragma once

// What the certificates of a collection are for.

#include <string_view>

enum class CollectionKind {
    SERVER, // by which this board proves who it is as a server or a device: a private key belongs
            // to each
    CLIENT, // by which it proves who it is as a client of others: a private key belongs to each
    TRUST,  // certificates of others, against which they are judged: no private key belongs here
};

// The URI decides, by the places that Redfish (DSP0266 and its schemas) gives to collections of
// clients' certificates and of trust; everywhere else is SERVER. A "/" at the end does not count.
[[nodiscard]] CollectionKind collectionKindOf(std::string_view collectionUri);

// Whether a private key belongs to each certificate of the collection.
[[nodiscard]] bool isIdentity(CollectionKind kind);
