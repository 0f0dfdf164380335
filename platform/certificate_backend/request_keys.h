#pragma once

// The private keys of signing requests whose certificate has not come back yet.
//
// Each is a file named by a running number, the digest of its public key and the digest of the
// collection that it was made for. The newest 16 of each collection are kept, and 256 in all: above
// that the oldest of the collection with the most goes. The number, not a date, says which is
// older, because a board's clock may jump. Faults of the machine are thrown as std::runtime_error
// or std::system_error.

#include "platform/certificate_backend/locked_directory.h"
#include "platform/certificate_backend/request_file.h"
#include "platform/x509/openssl_handles.h"

#include <optional>
#include <string>
#include <vector>

// Puts the key on disk as the newest, then drops what is above the bounds. The digest is that of
// its public key.
void keepRequestKey(const LockedDirectory& directory, const RequestNote& note, EVP_PKEY* key,
                    const std::string& digest);

// The private key to the public key, made for that collection; null when none is kept.
[[nodiscard]] KeyHandle findRequestKey(const LockedDirectory& directory,
                                       const std::string& collectionUri, EVP_PKEY* publicKey);

// Whether that key is kept, without looking at it.
[[nodiscard]] bool isRequestedFor(const LockedDirectory& directory,
                                  const std::string& collectionUri, EVP_PKEY* publicKey);

// What the request with that public key was made for, whatever its collection; nothing when none is
// kept.
[[nodiscard]] std::optional<RequestNote> findRequestNote(const LockedDirectory& directory,
                                                         EVP_PKEY* publicKey);

// Forgets the private key to the public key, if it is kept.
void dropRequestKey(const LockedDirectory& directory, EVP_PKEY* publicKey);

// A request as it is shown to those who operate the board.
struct OutstandingRequest {
    std::string id; // the first 16 hexadecimal digits of the digest of its public key
    RequestNote note;
};

// All of them, oldest first.
[[nodiscard]] std::vector<OutstandingRequest> listRequests(const LockedDirectory& directory);

// Forgets the request: true when it was there, false when there was none.
[[nodiscard]] bool removeRequest(const LockedDirectory& directory, const std::string& id);
