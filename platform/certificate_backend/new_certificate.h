#pragma once

// The steps that creation and replacement share.

#include "platform/certificate_backend.h"
#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/collection_kind.h"
#include "platform/certificate_backend/locked_directory.h"

// A certificate on its way from the request's text into the directory.
struct NewCertificate {
    std::string uri; // of its resource
    CollectionKind kind;
    CertificateType type;
    ChainAndKey content;
};

[[nodiscard]] CreateCertResult refused(std::int32_t code, MessageInfo message);

// Fills what a good result says of the certificate: its properties, and its text without the
// private key. Returns why it cannot be shown.
[[nodiscard]] Fault describe(const NewCertificate& certificate, CreateCertResult& result);

// An identity that came without its private key.
[[nodiscard]] bool lacksKey(const NewCertificate& certificate);

[[nodiscard]] EVP_PKEY* publicKeyOf(const NewCertificate& certificate);

// Puts the certificate and its key on disk, and adds to the result where the key is. A signing
// request's key is then no longer kept among those of requests.
void install(const LockedDirectory& directory, const NewCertificate& certificate,
             CreateCertResult& result);
