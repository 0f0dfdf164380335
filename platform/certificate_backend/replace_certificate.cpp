// Replacement: the new file takes the old one's place in a single rename, key and certificate
// together. The lock is held from the look at what is installed until the new pair is on disk.

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/certificate_properties.h"
#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/key_pair.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/certificate_backend/store_directory.h"
#include "platform/certificate_backend/utf8.h"

#include <algorithm>

namespace {

CreateCertResult refused(MessageInfo message) {
    CreateCertResult result;
    result.code = 400;
    result.message = std::move(message);
    return result;
}

CreateCertResult refusedText(const std::string& fault) {
    return refused(
        parameterValueFormatError(fault, CERTIFICATE_STRING_PROPERTY, REPLACE_CERTIFICATE_ACTION));
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
KeyHandle knownKey(const std::string& directory, InstalledCertificate& installed,
                   EVP_PKEY* publicKey) {
    KeyHandle key = findRequestKey(directory, publicKey);
    const bool renewed =
        !key && installed.privateKey && keysBelongTogether(installed.privateKey.get(), publicKey);
    return renewed ? std::move(installed.privateKey) : std::move(key);
}

CreateCertResult unchanged(const BackendSettings& settings, const ReplaceCertRequest& request,
                           const InstalledCertificate& installed, CreateCertResult result) {
    if (installed.privateKey) {
        result.privateKeyValue = installedFile(settings.directory, request.certificateUri);
    }
    result.message = noOperation();
    return result;
}

// Puts the new pair in the place of the old one.
CreateCertResult exchange(const BackendSettings& settings, const ReplaceCertRequest& request,
                          CollectionKind kind, CertificateText& text,
                          InstalledCertificate& installed, CreateCertResult result) {
    EVP_PKEY* const publicKey = X509_get0_pubkey(text.chain.front().get());
    const bool identity = kind == CollectionKind::IDENTITY;
    if (identity && !text.privateKey) {
        text.privateKey = knownKey(settings.directory, installed, publicKey);
        if (!text.privateKey) {
            return refusedText(
                "the certificate's private key is not known: it is neither in the text "
                "nor that of a signing request made here nor the installed one");
        }
    }
    storeInstalled(settings.directory, request.certificateUri, text.privateKey.get(), text.chain);
    if (identity) {
        dropRequestKey(settings.directory, publicKey);
        result.privateKeyValue = installedFile(settings.directory, request.certificateUri);
    }
    return result;
}

} // namespace

CreateCertResult exchangeCertificate(const BackendSettings& settings,
                                     const ReplaceCertRequest& request) {
    const std::optional<CertificateType> type = certificateTypeOf(request.certificateType);
    if (!type) {
        return refused(parameterValueNotInList(shownInMessage(request.certificateType),
                                               CERTIFICATE_TYPE_PROPERTY,
                                               REPLACE_CERTIFICATE_ACTION));
    }
    const OpenFile lock = lockStore(settings.directory);
    std::optional<InstalledCertificate> installed =
        loadInstalled(settings.directory, request.certificateUri);
    if (!installed) {
        return refused(resourceMissingAtUri(request.certificateUri));
    }
    CertificateText text = readCertificateText(request.certificateString, *type);
    CreateCertResult result;
    std::string fault = text.fault;
    if (fault.empty()) {
        fault = fillProperties(text.chain.front().get(), result);
    }
    if (!fault.empty()) {
        return refusedText(fault);
    }
    result.code = 200;
    result.certificateString = certificateText(text.chain, *type);
    const CollectionKind kind = collectionKindOf(collectionOf(request.certificateUri));
    if (sameCertificates(text.chain, installed->chain)) {
        fault = privateKeyFault(text, kind);
        return fault.empty() ? unchanged(settings, request, *installed, std::move(result))
                             : refusedText(fault);
    }
    fault = admissionFault(text, kind, request.rootCaFile, settings.clock);
    return fault.empty() ? exchange(settings, request, kind, text, *installed, std::move(result))
                         : refusedText(fault);
}
