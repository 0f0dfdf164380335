#include "frontend/web/service/certificate_view.h"

#include "core/protocol/certificate_defaults.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/web/service/certificate_condition.h"
#include "platform/x509/certificate_chain.h"
#include "platform/x509/certificate_marks.h"
#include "platform/x509/dates.h"
#include "platform/x509/names.h"
#include "platform/x509/shown_alternative_names.h"

#include <nlohmann/json.hpp>
#include <openssl/err.h>

#include <array>
#include <optional>
#include <string_view>

namespace {

using nlohmann::json;

constexpr const char* SHOWN_TYPE = "#Certificate.v1_11_0.Certificate";

// Of the schema's, those that the service may hold: "Password" is never shown.
constexpr std::array<const char*, 25> PROPERTIES = {"@odata.etag",
                                                    "@odata.id",
                                                    "@odata.type",
                                                    "Actions",
                                                    CERTIFICATE_STRING,
                                                    CERTIFICATE_TYPE,
                                                    "CertificateUsageTypes",
                                                    DESCRIPTION_PROPERTY,
                                                    "Fingerprint",
                                                    "FingerprintHashAlgorithm",
                                                    ID_PROPERTY,
                                                    ISSUER,
                                                    KEY_USAGE,
                                                    "Links",
                                                    NAME_PROPERTY,
                                                    "Oem",
                                                    "SPDM",
                                                    "SerialNumber",
                                                    "SignatureAlgorithm",
                                                    "Status",
                                                    SUBJECT,
                                                    "UefiSignatureOwner",
                                                    VALID_NOT_AFTER,
                                                    VALID_NOT_BEFORE,
                                                    "@odata.context"};

json knownProperties(const json& document) {
    json known = json::object();
    for (const char* property : PROPERTIES) {
        const auto found = document.find(property);
        if (found != document.end()) {
            known[property] = *found;
        }
    }
    return known;
}

std::string textOf(const json& document, const char* property) {
    const auto found = document.find(property);
    return found != document.end() && found->is_string() ? found->get<std::string>()
                                                         : std::string();
}

// The text's certificates, the own one first.
CertificateChain chainOf(const std::string& text) {
    const SignedDataHandle signedData = readSignedData(text);
    CertificateChain chain = signedData ? certificatesOf(signedData.get()) : readCertificates(text);
    (void)orderChain(chain, hasIssuerName);
    return chain;
}

void addList(json& identifier, const char* property, const std::vector<std::string>& values) {
    if (!values.empty()) {
        identifier[property] = values;
    }
}

void addIdentifier(json& view, const char* property, const X509_NAME* name,
                   const std::vector<std::string>& alternativeNames) {
    json& identifier = view[property];
    if (!identifier.is_object()) {
        identifier = json::object();
    }
    const FurtherParts parts = furtherPartsOf(name);
    addList(identifier, "AdditionalCommonNames", parts.commonNames);
    addList(identifier, "AdditionalOrganizationalUnits", parts.organizationalUnits);
    addList(identifier, "DomainComponents", parts.domainComponents);
    addList(identifier, "AlternativeNames", alternativeNames);
    const std::string displayed = displayedName(name).value_or("");
    if (!displayed.empty()) {
        identifier["DisplayString"] = displayed;
    }
}

// A date that is stored in another form gives way to the certificate's own.
void mendDate(json& view, const char* property, const ASN1_TIME* time) {
    const std::optional<std::tm> utc = utcTime(time);
    if (utc && !isoMoment(textOf(view, property))) {
        view[property] = isoTime(*utc);
    }
}

void addOwnProperties(json& view, const X509* certificate) {
    view["SerialNumber"] = serialNumberOf(certificate);
    view["SignatureAlgorithm"] = signatureAlgorithmOf(certificate);
    view["Fingerprint"] = fingerprintOf(certificate);
    view["FingerprintHashAlgorithm"] = FINGERPRINT_ALGORITHM;
    addIdentifier(view, SUBJECT, X509_get_subject_name(certificate),
                  alternativeNamesOf(certificate));
    addIdentifier(view, ISSUER, X509_get_issuer_name(certificate),
                  issuerAlternativeNamesOf(certificate));
    mendDate(view, VALID_NOT_BEFORE, X509_get0_notBefore(certificate));
    mendDate(view, VALID_NOT_AFTER, X509_get0_notAfter(certificate));
}

void addStatus(json& view, const std::string& uri, std::time_t now) {
    const std::optional<std::time_t> end = isoMoment(textOf(view, VALID_NOT_AFTER));
    if (!end) {
        return;
    }
    view["Status"] = certificateStatus(uri, *end, now);
    std::string tag = textOf(view, ODATA_ETAG);
    if (certificateState(*end, now) != CertificateState::GOOD && tag.ends_with('"')) {
        tag.insert(tag.size() - 1, "-" + view["Status"]["Health"].get<std::string>());
        view[ODATA_ETAG] = tag;
    }
}

// Every certificate resource has these.
void addRequired(json& view, const std::string& uri) {
    view[ODATA_ID] = uri;
    view[ODATA_TYPE] = SHOWN_TYPE;
    view.emplace(ID_PROPERTY, uri.substr(uri.rfind('/') + 1));
    view.emplace(NAME_PROPERTY, CERTIFICATE_DEFAULT_NAME);
}

} // namespace

nlohmann::json certificateView(const nlohmann::json& stored, const std::string& uri,
                               std::time_t now) {
    json view = knownProperties(clientView(stored));
    const std::string text = textOf(view, CERTIFICATE_STRING);
    const CertificateChain chain = chainOf(text);
    if (text.find("PRIVATE KEY") != std::string::npos) {
        view[CERTIFICATE_STRING] = pemText(chain);
    }
    if (!chain.empty()) {
        addOwnProperties(view, chain.front().get());
    }
    ERR_clear_error();
    addStatus(view, uri, now);
    addRequired(view, uri);
    return view;
}
