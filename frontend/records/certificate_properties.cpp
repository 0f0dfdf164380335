#include "frontend/records/certificate_properties.h"

#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/records/timestamps.h"

#include <nlohmann/json.hpp>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using nlohmann::json;

template <auto release>
struct Release {
    template <typename Object>
    void operator()(Object* object) const {
        release(object);
    }
};
using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Bio = std::unique_ptr<BIO, Release<BIO_free_all>>;
using SignedData = std::unique_ptr<PKCS7, Release<PKCS7_free>>;
using BitString = std::unique_ptr<ASN1_BIT_STRING, Release<ASN1_BIT_STRING_free>>;
using Purposes = std::unique_ptr<EXTENDED_KEY_USAGE, Release<EXTENDED_KEY_USAGE_free>>;

struct NamedNumber {
    int number;
    const char* name;
};

constexpr std::array<NamedNumber, 7> NAME_PARTS = {{
    {NID_commonName, "CommonName"},
    {NID_organizationName, "Organization"},
    {NID_organizationalUnitName, "OrganizationalUnit"},
    {NID_localityName, "City"},
    {NID_stateOrProvinceName, "State"},
    {NID_countryName, "Country"},
    {NID_pkcs9_emailAddress, "Email"},
}};

constexpr std::array<const char*, 9> USAGE_BITS = {
    "DigitalSignature", "NonRepudiation", "KeyEncipherment", "DataEncipherment", "KeyAgreement",
    "KeyCertSign",      "CRLSigning",     "EncipherOnly",    "DecipherOnly"};

constexpr std::array<NamedNumber, 6> USAGE_PURPOSES = {{
    {NID_server_auth, "ServerAuthentication"},
    {NID_client_auth, "ClientAuthentication"},
    {NID_code_sign, "CodeSigning"},
    {NID_email_protect, "EmailProtection"},
    {NID_time_stamp, "Timestamping"},
    {NID_OCSP_sign, "OCSPSigning"},
}};

// A text with a passphrase is none of the front end's: without an answer OpenSSL would ask on the
// terminal.
int noPassphrase(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*user*/) {
    return 0;
}

Bio memoryOf(const std::string& text) {
    return Bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

std::string contentOf(const Bio& memory) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &data);
    return data == nullptr ? std::string() : std::string(data, static_cast<std::size_t>(length));
}

std::vector<Certificate> readCertificates(const std::string& text) {
    std::vector<Certificate> certificates;
    const Bio memory = memoryOf(text);
    while (X509* certificate = PEM_read_bio_X509(memory.get(), nullptr, noPassphrase, nullptr)) {
        certificates.emplace_back(certificate);
    }
    return certificates;
}

std::vector<Certificate> certificatesOf(const PKCS7* signedData) {
    std::vector<Certificate> certificates;
    if (signedData == nullptr || !PKCS7_type_is_signed(signedData) ||
        signedData->d.sign == nullptr) {
        return certificates;
    }
    const STACK_OF(X509)* stack = signedData->d.sign->cert;
    for (int i = 0; i < sk_X509_num(stack); ++i) {
        X509* certificate = sk_X509_value(stack, i);
        (void)X509_up_ref(certificate);
        certificates.emplace_back(certificate);
    }
    return certificates;
}

bool issued(const Certificate& issuer, const Certificate& certificate) {
    return issuer != certificate && X509_NAME_cmp(X509_get_subject_name(issuer.get()),
                                                  X509_get_issuer_name(certificate.get())) == 0;
}

// The certificate that the text is about first, each other one behind the one that it issued.
void orderCertificates(std::vector<Certificate>& certificates) {
    for (auto place = certificates.begin(); place != certificates.end(); ++place) {
        const auto fits = [&](const Certificate& candidate) {
            return place == certificates.begin()
                       ? std::none_of(
                             certificates.begin(), certificates.end(),
                             [&](const Certificate& other) { return issued(candidate, other); })
                       : issued(candidate, *(place - 1));
        };
        const auto next = std::find_if(place, certificates.end(), fits);
        if (next != certificates.end()) {
            std::rotate(place, next, next + 1);
        }
    }
}

std::string textOf(const std::vector<Certificate>& certificates) {
    const Bio memory(BIO_new(BIO_s_mem()));
    for (const Certificate& certificate : certificates) {
        (void)PEM_write_bio_X509(memory.get(), certificate.get());
    }
    return contentOf(memory);
}

std::string textOf(const PKCS7* signedData) {
    const Bio memory(BIO_new(BIO_s_mem()));
    (void)PEM_write_bio_PKCS7(memory.get(), signedData);
    return contentOf(memory);
}

std::optional<std::string> partOf(const X509_NAME* name, int number) {
    const int index = X509_NAME_get_index_by_NID(name, number, -1);
    if (index < 0) {
        return std::nullopt;
    }
    unsigned char* text = nullptr;
    const int length =
        ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
    if (length < 0) {
        return std::nullopt;
    }
    std::string part(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length));
    OPENSSL_free(text);
    return isValidUtf8(part) ? std::optional(std::move(part)) : std::nullopt;
}

json identifierOf(const X509_NAME* name) {
    json identifier = json::object();
    for (const NamedNumber& known : NAME_PARTS) {
        const std::optional<std::string> part = partOf(name, known.number);
        if (part) {
            identifier[known.name] = *part;
        }
    }
    if (identifier.value(EMAIL, std::string()).empty()) {
        identifier[EMAIL] = nullptr;
    }
    const Bio memory(BIO_new(BIO_s_mem()));
    constexpr unsigned long FLAGS =
        XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    (void)X509_NAME_print_ex(memory.get(), name, 0, FLAGS);
    const std::string shown = contentOf(memory);
    if (isValidUtf8(shown)) {
        identifier["DisplayString"] = shown;
    }
    return identifier;
}

std::string dateOf(const ASN1_TIME* time) {
    std::tm utc{};
    return ASN1_TIME_to_tm(time, &utc) == 1 ? isoTime(utc) : std::string();
}

bool hasPurpose(const Purposes& purposes, int purpose) {
    for (int i = 0; purposes && i < sk_ASN1_OBJECT_num(purposes.get()); ++i) {
        if (OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes.get(), i)) == purpose) {
            return true;
        }
    }
    return false;
}

json keyUsageOf(const X509* certificate) {
    const BitString bits(static_cast<ASN1_BIT_STRING*>(
        X509_get_ext_d2i(certificate, NID_key_usage, nullptr, nullptr)));
    const Purposes purposes(static_cast<EXTENDED_KEY_USAGE*>(
        X509_get_ext_d2i(certificate, NID_ext_key_usage, nullptr, nullptr)));
    json usages = json::array();
    for (std::size_t bit = 0; bit < USAGE_BITS.size(); ++bit) {
        if (bits && ASN1_BIT_STRING_get_bit(bits.get(), static_cast<int>(bit)) == 1) {
            usages.push_back(USAGE_BITS[bit]);
        }
    }
    for (const NamedNumber& known : USAGE_PURPOSES) {
        if (hasPurpose(purposes, known.number)) {
            usages.push_back(known.name);
        }
    }
    return usages;
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
    const Bio memory = memoryOf(text);
    const SignedData signedData(PEM_read_bio_PKCS7(memory.get(), nullptr, noPassphrase, nullptr));
    std::vector<Certificate> certificates =
        signedData ? certificatesOf(signedData.get()) : readCertificates(text);
    ERR_clear_error();
    if (certificates.empty()) {
        return nullptr;
    }
    orderCertificates(certificates);
    return propertiesOf(certificates.front().get(),
                        signedData ? textOf(signedData.get()) : textOf(certificates));
}
