// Creation: read, check, find the private key, put both on disk. The lock is taken when everything
// that can be said without the store has been said.

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/certificate_properties.h"
#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/certificate_backend/store_directory.h"
#include "platform/certificate_backend/utf8.h"

#include <stdexcept>

namespace {

CreateCertResult refused(std::int32_t code, MessageInfo message) {
    CreateCertResult result;
    result.code = code;
    result.message = std::move(message);
    return result;
}

CreateCertResult refusedText(const std::string& fault) {
    return refused(400, propertyValueFormatError(fault, CERTIFICATE_STRING_PROPERTY));
}

} // namespace

CreateCertResult installCertificate(const BackendSettings& settings,
                                    const CreateCertRequest& request) {
    if (request.collectionUri.empty() || request.certificateId.empty()) {
        throw std::runtime_error("the new certificate has no URI");
    }
    const std::optional<CertificateType> type = certificateTypeOf(request.certificateType);
    if (!type) {
        return refused(400, propertyValueNotInList(shownInMessage(request.certificateType),
                                                   CERTIFICATE_TYPE_PROPERTY));
    }
    CertificateText text = readCertificateText(request.certificateString, *type);
    const CollectionKind kind = collectionKindOf(request.collectionUri);
    std::string fault = text.fault.empty()
                            ? admissionFault(text, kind, request.rootCaFile, settings.clock)
                            : text.fault;
    if (!fault.empty()) {
        return refusedText(fault);
    }
    CreateCertResult result;
    fault = fillProperties(text.chain.front().get(), result);
    if (!fault.empty()) {
        return refusedText(fault);
    }
    result.certificateString = certificateText(text.chain, *type);

    const std::string uri = request.collectionUri + "/" + request.certificateId;
    EVP_PKEY* const publicKey = X509_get0_pubkey(text.chain.front().get());
    const OpenFile lock = lockStore(settings.directory);
    if (isInstalled(settings.directory, uri)) {
        return refused(409, resourceAlreadyExists("Certificate", "Id", request.certificateId));
    }
    if (kind == CollectionKind::IDENTITY && !text.privateKey) {
        text.privateKey = findRequestKey(settings.directory, publicKey);
        if (!text.privateKey) {
            return refusedText(
                "the certificate's private key is not known: it is neither in the text "
                "nor that of a signing request made here");
        }
    }
    storeInstalled(settings.directory, uri, text.privateKey.get(), text.chain);
    if (kind == CollectionKind::IDENTITY) {
        dropRequestKey(settings.directory, publicKey);
        result.privateKeyValue = installedFile(settings.directory, uri);
    }
    result.code = 200;
    return result;
}
