// The lock is taken when everything that can be said without the directory has been said.

#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/messages.h"
#include "platform/certificate_backend/new_certificate.h"
#include "platform/certificate_backend/operations.h"
#include "platform/certificate_backend/request_keys.h"
#include "platform/x509/utf8.h"

#include <stdexcept>

namespace {

CreateCertResult refusedType(const CreateCertRequest& request) {
    return refused(400, propertyValueNotInList(shownInMessage(request.certificateType) +
                                                   ACCEPTED_CERTIFICATE_TYPES,
                                               CERTIFICATE_TYPE_PROPERTY));
}

CreateCertResult refusedText(const std::string& fault) {
    return refused(400, propertyValueFormatError(fault, CERTIFICATE_STRING_PROPERTY));
}

Fault checkAndDescribe(const NewCertificate& certificate, const AdmissionRules& rules,
                       CreateCertResult& result) {
    if (Fault fault = admissionFault(certificate.chain, rules)) {
        return fault;
    }
    Fault fault = privateKeyFault(certificate);
    return fault ? fault : describe(certificate, result);
}

CreateCertResult installAsNew(const CreateCertRequest& request, const LockedDirectory& directory,
                              NewCertificate& certificate, CreateCertResult result) {
    if (isInstalled(directory, certificate.uri)) {
        return refused(409, resourceAlreadyExists("Certificate", "Id", request.certificateId));
    }
    if (lacksKey(certificate)) {
        certificate.privateKey =
            findRequestKey(directory, certificate.collectionUri, publicKeyOf(certificate));
    }
    if (lacksKey(certificate)) {
        return refusedText(unknownKey(directory, certificate));
    }
    install(directory, certificate, result);
    return result;
}

NewCertificate newCertificate(const CreateCertRequest& request, CertificateType type) {
    if (request.collectionUri.empty() || request.certificateId.empty()) {
        throw std::runtime_error("the new certificate has no URI");
    }
    return {request.collectionUri + "/" + request.certificateId,
            request.collectionUri,
            type,
            collectionKindOf(request.collectionUri),
            {},
            nullptr};
}

} // namespace

CreateCertResult createCertificate(const Surroundings& surroundings,
                                   const CreateCertRequest& request) {
    const RootsHandle roots = rootsFor(request.rootCaFile, surroundings);
    const std::optional<CertificateType> type = certificateTypeOf(request.certificateType);
    if (!type) {
        return refusedType(request);
    }
    NewCertificate certificate = newCertificate(request, *type);
    CertificateBlocks blocks;
    if (const Fault fault = readCertificateText(request.certificateString, *type, blocks)) {
        return refusedText(*fault);
    }
    const LockedDirectory directory(surroundings.directory);
    const BoardClock& clock = surroundings.clock;
    if (const Fault fault =
            takeContent(directory, std::move(blocks), nullptr, clock, certificate)) {
        return refusedText(*fault);
    }
    CreateCertResult result;
    if (const Fault fault =
            checkAndDescribe(certificate, {{certificate.kind, clock}, roots.get()}, result)) {
        return refusedText(*fault);
    }
    return installAsNew(request, directory, certificate, std::move(result));
}
