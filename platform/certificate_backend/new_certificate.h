#pragma once

// The steps that creation and replacement share.

#include "platform/certificate_backend.h"
#include "platform/certificate_backend/admission.h"
#include "platform/certificate_backend/certificate_text.h"
#include "platform/certificate_backend/locked_directory.h"
#include "platform/certificate_backend/surroundings.h"

#include <string>

// A certificate on its way from the request's text into the directory.
struct NewCertificate {
    std::string uri; // of its resource
    std::string collectionUri;
    CertificateType type;
    CollectionKind kind;
    CertificateChain chain;
    KeyHandle privateKey; // null in a collection of trust, and as long as it is not known
};

[[nodiscard]] CreateCertResult refused(std::int32_t code, MessageInfo message);

// The roots by which a request is judged: those in the file that it names, or in the configured
// one; null when neither is there. Throws as loadRoots does.
[[nodiscard]] RootsHandle rootsFor(const std::string& requestedFile,
                                   const Surroundings& surroundings);

// Takes chain and private key out of what the text holds. The chain begins with the certificate
// that the text's key belongs to, else with that of a signing request made here, of this
// collection first, else with one for the installed key (null: none), else with the first.
[[nodiscard]] Fault takeContent(const LockedDirectory& directory, CertificateBlocks blocks,
                                EVP_PKEY* installedKey, const BoardClock& clock,
                                NewCertificate& certificate);

// Why the text's private key, if it holds one, is not that of the chain's first certificate. That
// certificate's key must have been found good before.
[[nodiscard]] Fault privateKeyFault(const NewCertificate& certificate);

// Fills what a good result says of the certificate: its properties, and its text without the
// private key. Returns why it cannot be shown.
[[nodiscard]] Fault describe(const NewCertificate& certificate, CreateCertResult& result);

// An identity that came without its private key.
[[nodiscard]] bool lacksKey(const NewCertificate& certificate);

[[nodiscard]] EVP_PKEY* publicKeyOf(const NewCertificate& certificate);

// The refusal of an identity whose private key is nowhere to be found.
[[nodiscard]] std::string unknownKey(const LockedDirectory& directory,
                                     const NewCertificate& certificate);

// Puts the certificate and its key on disk, and adds to the result where the key is. A signing
// request's key is then no longer kept among those of requests.
void install(const LockedDirectory& directory, const NewCertificate& certificate,
             CreateCertResult& result);
