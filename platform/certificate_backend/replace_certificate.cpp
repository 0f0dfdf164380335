// The new file takes the old one's place in a single rename, key and certificate together. The lock
// is held from the look at what is installed until the new pair is on disk.

#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/new_certificate.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/private_key.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/x509/utf8.h"

#include <algorithm>

namespace {

CreateCertResult refusedType(const ReplaceCertRequest& request) {
    return refused(400, parameterValueNotInList(
                            shownInMessage(request.certificateType) + ACCEPTED_CERTIFICATE_TYPES,
                            CERTIFICATE_TYPE_PROPERTY, REPLACE_CERTIFICATE_ACTION));
}

CreateCertResult refusedText(const std::string& fault) {
    return refused(400, parameterValueFormatError(fault, CERTIFICATE_STRING_PROPERTY,
                                                  REPLACE_CERTIFICATE_ACTION));
}

std::string collectionOf(const std::string& certificateUri) {
    return certificateUri.substr(0, certificateUri.find_last_of('/'));
}

bool sameCertificates(const CertificateChain& one, const CertificateChain& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const CertificateHandle& a, const CertificateHandle& b) {
                          return X509_cmp(a.get(), b.get()) == 0;
                      });
}

// The private key of a certificate that came without one: that of a signing request, or the
// installed one when the certificate was renewed for the same key. Null when neither fits.
KeyHandle knownKey(const LockedDirectory& directory, const CertificateBlocks& installed,
                   const NewCertificate& certificate) {
    EVP_PKEY* const publicKey = publicKeyOf(certificate);
    KeyHandle key = findRequestKey(directory, certificate.collectionUri, publicKey);
    if (key || !installed.privateKey) {
        return key;
    }
    key = decodePrivateKey(*installed.privateKey);
    return key && keysBelongTogether(key.get(), publicKey) ? std::move(key) : nullptr;
}

// The certificates are the installed ones. A key beside them is checked all the same.
CreateCertResult leaveInstalled(const LockedDirectory& directory, const NewCertificate& certificate,
                                const CertificateBlocks& installed, CreateCertResult result) {
    if (const Fault fault = privateKeyFault(certificate)) {
        return refusedText(*fault);
    }
    if (installed.privateKey) {
        result.privateKeyValue = installedFile(directory.path(), certificate.uri);
    }
    result.message = noOperation();
    return result;
}

CreateCertResult installInstead(const LockedDirectory& directory, NewCertificate& certificate,
                                const CertificateBlocks& installed, CreateCertResult result) {
    if (const Fault fault = privateKeyFault(certificate)) {
        return refusedText(*fault);
    }
    if (lacksKey(certificate)) {
        certificate.privateKey = knownKey(directory, installed, certificate);
    }
    if (lacksKey(certificate)) {
        return refusedText(unknownKey(directory, certificate));
    }
    install(directory, certificate, result);
    return result;
}

Fault takeAndDescribe(const LockedDirectory& directory, const ReplaceCertRequest& request,
                      const CertificateBlocks& installed, const BoardClock& clock,
                      NewCertificate& certificate, CreateCertResult& result) {
    CertificateBlocks blocks;
    if (Fault fault = readCertificateText(request.certificateString, certificate.type, blocks)) {
        return fault;
    }
    EVP_PKEY* const installedKey = X509_get0_pubkey(installed.certificates.front().get());
    Fault fault = takeContent(directory, std::move(blocks), installedKey, clock, certificate);
    return fault ? fault : describe(certificate, result);
}

} // namespace

CreateCertResult replaceCertificate(const Surroundings& surroundings,
                                    const ReplaceCertRequest& request) {
    const RootsHandle roots = rootsFor(request.rootCaFile, surroundings);
    const std::optional<CertificateType> type = certificateTypeOf(request.certificateType);
    if (!type) {
        return refusedType(request);
    }
    const std::string collection = collectionOf(request.certificateUri);
    NewCertificate certificate = {request.certificateUri,       collection, *type,
                                  collectionKindOf(collection), {},         nullptr};
    const LockedDirectory directory(surroundings.directory);
    const std::optional<CertificateBlocks> installed = loadInstalled(directory, certificate.uri);
    if (!installed) {
        return refused(400, resourceMissingAtUri(certificate.uri));
    }
    CreateCertResult result;
    if (const Fault fault = takeAndDescribe(directory, request, *installed, surroundings.clock,
                                            certificate, result)) {
        return refusedText(*fault);
    }
    if (sameCertificates(certificate.chain, installed->certificates)) {
        return leaveInstalled(directory, certificate, *installed, std::move(result));
    }
    if (const Fault fault = admissionFault(certificate.chain,
                                           {{certificate.kind, surroundings.clock}, roots.get()})) {
        return refusedText(*fault);
    }
    return installInstead(directory, certificate, *installed, std::move(result));
}
