#include "frontend/records/certificate_properties.h"

#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_text.h"
#include "platform/x509/certificate_chain.h"
#include "platform/x509/dates.h"
#include "platform/x509/key_usage.h"
#include "platform/x509/memory_text.h"
#include "platform/x509/names.h"

#include <nlohmann/json.hpp>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <algorithm>

namespace {

using nlohmann::json;

json identifierOf(const X509_NAME* name) {
    json identifier = {{EMAIL, nullptr}};
    for (const NamePart& part : namePartsOf(name)) {
        const bool isShown = part.value && isValidUtf8(*part.value);
        if (isShown && !(part.property == EMAIL && part.value->empty())) {
            identifier[std::string(part.property)] = *part.value;
        }
    }
    return identifier;
}

std::string dateOf(const ASN1_TIME* time) {
    const std::optional<std::tm> utc = utcTime(time);
    return utc ? isoTime(*utc) : std::string();
}

json propertiesOf(const X509* certificate, const std::string& text) {
    return {{CERTIFICATE_STRING, text},
            {SUBJECT, identifierOf(X509_get_subject_name(certificate))},
            {ISSUER, identifierOf(X509_get_issuer_name(certificate))},
            {VALID_NOT_BEFORE, dateOf(X509_get0_notBefore(certificate))},
            {VALID_NOT_AFTER, dateOf(X509_get0_notAfter(certificate))},
            {KEY_USAGE, keyUsageOf(certificate)}};
}

// Puts the certificate that the text's private key belongs to first; without one the order stays.
void putOwnFirst(CertificateChain& chain, const std::string& text) {
    const KeyHandle key(
        PEM_read_bio_PrivateKey(readableText(text).get(), nullptr, noPassphrase, nullptr));
    const auto own = std::find_if(chain.begin(), chain.end(), [&](const CertificateHandle& each) {
        return key && X509_check_private_key(each.get(), key.get()) == 1;
    });
    if (own != chain.end()) {
        std::rotate(chain.begin(), own, own + 1);
    }
}

// Leaves the first certificate and its issuers in their order: what does not belong to the chain is
// not installed either.
void keepIssuers(CertificateChain& chain) {
    for (auto place = chain.begin() + 1; place != chain.end(); ++place) {
        X509* const last = (place - 1)->get();
        const auto issuer = std::find_if(place, chain.end(), [&](const CertificateHandle& each) {
            return hasIssuerName(each.get(), last) && !hasIssuerName(last, last);
        });
        if (issuer == chain.end()) {
            chain.erase(place, chain.end());
            return;
        }
        std::rotate(place, issuer, issuer + 1);
    }
}

} // namespace

nlohmann::json certificateProperties(const std::string& text) {
    const SignedDataHandle signedData = readSignedData(text);
    CertificateChain chain = signedData ? certificatesOf(signedData.get()) : readCertificates(text);
    if (chain.empty()) {
        ERR_clear_error();
        return nullptr;
    }
    orderChain(chain, hasIssuerName);
    putOwnFirst(chain, text);
    keepIssuers(chain);
    ERR_clear_error();
    return propertiesOf(chain.front().get(), signedData ? pemText(signedData) : pemText(chain));
}
