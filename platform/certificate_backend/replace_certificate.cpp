// The new file takes the old one's place in a single rename, key and certificate together. The lock
// is held from the look at what is installed until the new pair is on disk.

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/new_certificate.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/private_key.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/certificate_backend/utf8.h"

#include <algorithm>

namespace {

CreateCertResult refusedType(const ReplaceCertRequest& request) {
    return refused(400,
                   parameterValueNotInList(shownInMessage(request.certificateType),
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
                   EVP_PKEY* publicKey) {
    KeyHandle key = findRequestKey(directory, publicKey);
    if (key || !installed.privateKey) {
        return key;
    }
    key = decodePrivateKey(*installed.privateKey);
    return key && keysBelongTogether(key.get(), publicKey) ? std::move(key) : nullptr;
}

Fault readAndDescribe(const ReplaceCertRequest& request, NewCertificate& certificate,
                      CreateCertResult& result) {
    if (Fault fault =
            readCertificateText(request.certificateString, certificate.type, certificate.content)) {
        return fault;
    }
    return describe(certificate, result);
}

// The certificates are the installed ones. A key beside them is checked all the same.
CreateCertResult leaveInstalled(const LockedDirectory& directory, const NewCertificate& certificate,
                                const CertificateBlocks& installed, CreateCertResult result) {
    if (const Fault fault = privateKeyFault(certificate.content, certificate.kind)) {
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
    if (lacksKey(certificate)) {
        certificate.content.privateKey = knownKey(directory, installed, publicKeyOf(certificate));
    }
    if (lacksKey(certificate)) {
        return refusedText("the certificate's private key is not known: it is neither in the text "
                           "nor that of a signing request made here nor the installed one");
    }
    install(directory, certificate, result);
    return result;
}

} // namespace

CreateCertResult replaceCertificate(const Surroundings& surroundings,
                                    const ReplaceCertRequest& request) {
    const std::optional<CertificateType> type = certificateTypeOf(request.certificateType);
    if (!type) {
        return refusedType(request);
    }
    NewCertificate certificate = {
        request.certificateUri, collectionKindOf(collectionOf(request.certificateUri)), *type, {}};
    const LockedDirectory directory(surroundings.directory);
    const std::optional<CertificateBlocks> installed = loadInstalled(directory, certificate.uri);
    if (!installed) {
        return refused(400, resourceMissingAtUri(certificate.uri));
    }
    CreateCertResult result;
    if (const Fault fault = readAndDescribe(request, certificate, result)) {
        return refusedText(*fault);
    }
    if (sameCertificates(certificate.content.chain, installed->certificates)) {
        return leaveInstalled(directory, certificate, *installed, std::move(result));
    }
    if (const Fault fault = admissionFault(certificate.content, certificate.kind,
                                           request.rootCaFile, surroundings.clock)) {
        return refusedText(*fault);
    }
    return installInstead(directory, certificate, *installed, std::move(result));
}
