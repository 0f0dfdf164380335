#include "frontend/records/certificate_properties.h"

#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_text.h"
#include "platform/x509/certificate_chain.h"
#include "platform/x509/dates.h"
#include "platform/x509/key_usage.h"
#include "platform/x509/names.h"

#include <nlohmann/json.hpp>
#include <openssl/err.h>

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

} // namespace

nlohmann::json certificateProperties(const std::string& text) {
    const SignedDataHandle signedData = readSignedData(text);
    CertificateChain chain = signedData ? certificatesOf(signedData.get()) : readCertificates(text);
    ERR_clear_error();
    if (chain.empty()) {
        return nullptr;
    }
    orderChain(chain, hasIssuerName); // as far as it goes: what was accepted is shown
    return propertiesOf(chain.front().get(), signedData ? pemText(signedData) : pemText(chain));
}
