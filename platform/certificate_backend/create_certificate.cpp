// The lock is taken when everything that can be said without the directory has been said.

#include "platform/certificate_backend/certificate_checks.h"
#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/new_certificate.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/certificate_backend/utf8.h"

#include <stdexcept>

namespace {

CreateCertResult refusedType(const CreateCertRequest& request) {
    return refused(400, propertyValueNotInList(shownInMessage(request.certificateType),
                                               CERTIFICATE_TYPE_PROPERTY));
}

CreateCertResult refusedText(const std::string& fault) {
    return refused(400, propertyValueFormatError(fault, CERTIFICATE_STRING_PROPERTY));
}

Fault readAndCheck(const CreateCertRequest& request, const BoardClock& clock,
                   NewCertificate& certificate) {
    if (Fault fault =
            readCertificateText(request.certificateString, certificate.type, certificate.content)) {
        return fault;
    }
    return admissionFault(certificate.content, certificate.kind, request.rootCaFile, clock);
}

CreateCertResult installAsNew(const CreateCertRequest& request, const LockedDirectory& directory,
                              NewCertificate& certificate, CreateCertResult result) {
    if (isInstalled(directory, certificate.uri)) {
        return refused(409, resourceAlreadyExists("Certificate", "Id", request.certificateId));
    }
    if (lacksKey(certificate)) {
        certificate.content.privateKey = findRequestKey(directory, publicKeyOf(certificate));
    }
    if (lacksKey(certificate)) {
        return refusedText("the certificate's private key is not known: it is neither in the text "
                           "nor that of a signing request made here");
    }
    install(directory, certificate, result);
    return result;
}

} // namespace

CreateCertResult createCertificate(const Surroundings& surroundings,
                                   const CreateCertRequest& request) {
    if (request.collectionUri.empty() || request.certificateId.empty()) {
        throw std::runtime_error("the new certificate has no URI");
    }
    const std::optional<CertificateType> type = certificateTypeOf(request.certificateType);
    if (!type) {
        return refusedType(request);
    }
    NewCertificate certificate = {request.collectionUri + "/" + request.certificateId,
                                  collectionKindOf(request.collectionUri),
                                  *type,
                                  {}};
    if (const Fault fault = readAndCheck(request, surroundings.clock, certificate)) {
        return refusedText(*fault);
    }
    CreateCertResult result;
    if (const Fault fault = describe(certificate, result)) {
        return refusedText(*fault);
    }
    const LockedDirectory directory(surroundings.directory);
    return installAsNew(request, directory, certificate, std::move(result));
}
