#include "platform/certificate_backend/new_certificate.h"

#include "platform/certificate_backend/certificate_properties.h"
#include "platform/certificate_backend/installed_certificates.h"
#include "platform/certificate_backend/request_keys.h"

CreateCertResult refused(std::int32_t code, MessageInfo message) {
    CreateCertResult result;
    result.code = code;
    result.message = std::move(message);
    return result;
}

Fault describe(const NewCertificate& certificate, CreateCertResult& result) {
    const CertificateChain& chain = certificate.content.chain;
    if (Fault fault = fillProperties(chain.front().get(), result)) {
        return fault;
    }
    result.code = 200;
    result.certificateString = certificateText(chain, certificate.type);
    return std::nullopt;
}

bool lacksKey(const NewCertificate& certificate) {
    return certificate.kind == CollectionKind::IDENTITY && !certificate.content.privateKey;
}

EVP_PKEY* publicKeyOf(const NewCertificate& certificate) {
    return X509_get0_pubkey(certificate.content.chain.front().get());
}

void install(const LockedDirectory& directory, const NewCertificate& certificate,
             CreateCertResult& result) {
    saveInstalled(directory, certificate.uri, certificate.content);
    if (certificate.kind == CollectionKind::IDENTITY) {
        dropRequestKey(directory, publicKeyOf(certificate));
        result.privateKeyValue = installedFile(directory.path(), certificate.uri);
    }
}
