#include "platform/certificate_backend/new_certificate.h"

#include "platform/certificate_backend/certificate_naming.h"
#include "platform/certificate_backend/certificate_properties.h"
#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/issuer_search.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/private_key.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/certificate_backend/trusted_roots.h"
#include "platform/x509/utf8.h"

#include <algorithm>

namespace {

// The place of the first certificate that passes the test; nothing when none does.
template <typename Test>
std::optional<std::size_t> placeWhere(const CertificateChain& certificates, Test test) {
    const auto found = std::find_if(certificates.begin(), certificates.end(),
                                    [&](const CertificateHandle& certificate) {
                                        EVP_PKEY* const key = X509_get0_pubkey(certificate.get());
                                        return key != nullptr && test(key);
                                    });
    return found == certificates.end()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(found - certificates.begin()));
}

bool isSameKey(EVP_PKEY* one, EVP_PKEY* other) {
    return one != nullptr && EVP_PKEY_eq(one, other) == 1;
}

// Where the chain begins when the text holds no private key.
std::size_t placeOfKnownKey(const LockedDirectory& directory, EVP_PKEY* installedKey,
                            const CertificateChain& certificates, const std::string& collection) {
    if (certificates.size() == 1) {
        return 0;
    }
    const auto requestedHere = [&](EVP_PKEY* key) {
        return isRequestedFor(directory, collection, key);
    };
    const auto requested = [&](EVP_PKEY* key) {
        return findRequestNote(directory, key).has_value();
    };
    const auto installed = [&](EVP_PKEY* key) { return isSameKey(installedKey, key); };
    if (const auto place = placeWhere(certificates, requestedHere)) {
        return *place;
    }
    if (const auto place = placeWhere(certificates, requested)) {
        return *place;
    }
    return placeWhere(certificates, installed).value_or(0);
}

Fault decodeKey(const PemBlock& block, NewCertificate& certificate) {
    if (!isIdentity(certificate.kind)) {
        return "The text holds a private key, which does not belong into a collection of trusted "
               "certificates. Send the certificates alone.";
    }
    certificate.privateKey = decodePrivateKey(block);
    if (!certificate.privateKey) {
        return "The private key of the text cannot be decoded. Send it as openssl pkey writes it.";
    }
    return std::nullopt;
}

// Of a key that fits no certificate. Since version 3.5 OpenSSL compares none whose numbers it finds
// too long.
Fault strangeKeyFault(EVP_PKEY* key) {
    if (Fault fault = privateRangeFault(key)) {
        return fault;
    }
    return "The private key of the text belongs to none of its certificates. Send the key of the "
           "certificate, or none when a signing request was made for it here.";
}

} // namespace

CreateCertResult refused(std::int32_t code, MessageInfo message) {
    CreateCertResult result;
    result.code = code;
    result.message = std::move(message);
    return result;
}

RootsHandle rootsFor(const std::string& requestedFile, const Surroundings& surroundings) {
    return loadRoots(requestedFile.empty() ? surroundings.rootCaFile : requestedFile);
}

Fault takeContent(const LockedDirectory& directory, CertificateBlocks blocks,
                  EVP_PKEY* installedKey, const BoardClock& clock, NewCertificate& certificate) {
    std::optional<std::size_t> first;
    if (blocks.privateKey) {
        if (Fault fault = decodeKey(*blocks.privateKey, certificate)) {
            return fault;
        }
        first = placeWhere(blocks.certificates, [&](EVP_PKEY* key) {
            return isSameKey(certificate.privateKey.get(), key);
        });
    } else {
        first = isIdentity(certificate.kind)
                    ? placeOfKnownKey(directory, installedKey, blocks.certificates,
                                      certificate.collectionUri)
                    : 0;
    }
    if (!first) {
        return strangeKeyFault(certificate.privateKey.get());
    }
    certificate.chain = chainOf(std::move(blocks.certificates), *first, clock);
    return std::nullopt;
}

Fault privateKeyFault(const NewCertificate& certificate) {
    EVP_PKEY* const key = certificate.privateKey.get();
    if (key == nullptr) {
        return std::nullopt;
    }
    if (Fault fault = privateNumbersFault(key)) {
        return fault;
    }
    return keysBelongTogether(key, publicKeyOf(certificate))
               ? std::nullopt
               : Fault("The private key of the text is damaged: what it signs is not verified by "
                       "the certificate. Send the key as it was made.");
}

Fault describe(const NewCertificate& certificate, CreateCertResult& result) {
    X509* const first = certificate.chain.front().get();
    if (const Fault fault = fillProperties(first, result)) {
        return saidOf(first, 0, fault);
    }
    result.code = 200;
    result.certificateString = certificateText(certificate.chain, certificate.type);
    return std::nullopt;
}

bool lacksKey(const NewCertificate& certificate) {
    return isIdentity(certificate.kind) && !certificate.privateKey;
}

EVP_PKEY* publicKeyOf(const NewCertificate& certificate) {
    return X509_get0_pubkey(certificate.chain.front().get());
}

std::string unknownKey(const LockedDirectory& directory, const NewCertificate& certificate) {
    const std::optional<RequestNote> note = findRequestNote(directory, publicKeyOf(certificate));
    const std::string naming = certificateNaming(certificate.chain.front().get(), 0);
    if (note) {
        return naming + " is that of a signing request for the collection " +
               shownInMessage(note->collectionUri) +
               ". Install it there, or have a signing request made for this collection.";
    }
    return naming + " has a private key that is not known here. Send it in the text, or have a "
                    "signing request made for this collection.";
}

void install(const LockedDirectory& directory, const NewCertificate& certificate,
             CreateCertResult& result) {
    saveInstalled(directory, certificate.uri, certificate.chain, certificate.privateKey.get());
    if (isIdentity(certificate.kind)) {
        dropRequestKey(directory, publicKeyOf(certificate));
        result.privateKeyValue = installedFile(directory.path(), certificate.uri);
    }
}
