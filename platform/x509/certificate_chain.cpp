#include "platform/x509/certificate_chain.h"

#include "platform/x509/memory_text.h"

#include <openssl/pem.h>

#include <algorithm>
#include <stdexcept>

namespace {

bool isNamedByAny(const CertificateChain& chain, const CertificateHandle& issuer) {
    return std::any_of(chain.begin(), chain.end(), [&](const CertificateHandle& other) {
        return other != issuer && hasIssuerName(issuer.get(), other.get());
    });
}

void require(bool written) {
    if (!written) {
        throw std::runtime_error("cannot write a certificate as text");
    }
}

} // namespace

CertificateChain readCertificates(std::string_view text) {
    CertificateChain chain;
    const BioHandle memory = readableText(text);
    while (X509* certificate = PEM_read_bio_X509(memory.get(), nullptr, noPassphrase, nullptr)) {
        chain.emplace_back(certificate);
    }
    return chain;
}

SignedDataHandle readSignedData(std::string_view text) {
    const BioHandle memory = readableText(text);
    return SignedDataHandle(PEM_read_bio_PKCS7(memory.get(), nullptr, noPassphrase, nullptr));
}

bool isSignedData(const PKCS7* data) {
    return PKCS7_type_is_signed(data) && data->d.sign != nullptr;
}

CertificateChain certificatesOf(const PKCS7* data) {
    CertificateChain chain;
    if (!isSignedData(data)) {
        return chain;
    }
    const STACK_OF(X509)* certificates = data->d.sign->cert;
    for (int i = 0; i < sk_X509_num(certificates); ++i) {
        X509* certificate = sk_X509_value(certificates, i);
        X509_up_ref(certificate);
        chain.emplace_back(certificate);
    }
    return chain;
}

bool hasIssuerName(X509* issuer, X509* certificate) {
    return X509_NAME_cmp(X509_get_issuer_name(certificate), X509_get_subject_name(issuer)) == 0;
}

bool hasIssuerSignature(X509* issuer, X509* certificate) {
    return X509_check_issued(issuer, certificate) == X509_V_OK &&
           X509_verify(certificate, X509_get0_pubkey(issuer)) == 1;
}

bool orderChain(CertificateChain& chain, IssuerTest isIssuer) {
    bool complete = true;
    for (auto place = chain.begin(); place != chain.end(); ++place) {
        const auto next = std::find_if(place, chain.end(), [&](const CertificateHandle& candidate) {
            return place == chain.begin() ? !isNamedByAny(chain, candidate)
                                          : isIssuer(candidate.get(), (place - 1)->get());
        });
        if (next == chain.end()) {
            complete = false;
        } else {
            std::rotate(place, next, next + 1);
        }
    }
    return complete;
}

std::string pemText(const CertificateChain& chain) {
    const BioHandle memory = newMemory();
    for (const CertificateHandle& certificate : chain) {
        require(PEM_write_bio_X509(memory.get(), certificate.get()) == 1);
    }
    return std::string(writtenText(memory));
}

std::string pemText(const SignedDataHandle& data) {
    const BioHandle memory = newMemory();
    require(PEM_write_bio_PKCS7(memory.get(), data.get()) == 1);
    return std::string(writtenText(memory));
}
