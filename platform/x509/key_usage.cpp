// One table serves both directions: naming what a certificate holds, and requesting by name.

#include "platform/x509/key_usage.h"

#include <openssl/objects.h>

#include <algorithm>
#include <array>
#include <set>

namespace {

constexpr std::array<KeyUsageValue, 15> KEY_USAGES = {{
    {"DigitalSignature", 0, 0},
    {"NonRepudiation", 1, 0},
    {"KeyEncipherment", 2, 0},
    {"DataEncipherment", 3, 0},
    {"KeyAgreement", 4, 0},
    {"KeyCertSign", 5, 0},
    {"CRLSigning", 6, 0},
    {"EncipherOnly", 7, 0},
    {"DecipherOnly", 8, 0},
    {"ServerAuthentication", -1, NID_server_auth},
    {"ClientAuthentication", -1, NID_client_auth},
    {"CodeSigning", -1, NID_code_sign},
    {"EmailProtection", -1, NID_email_protect},
    {"Timestamping", -1, NID_time_stamp},
    {"OCSPSigning", -1, NID_OCSP_sign},
}};

// Told apart once: a hostile certificate may hold thousands.
std::set<int> purposesIn(const EXTENDED_KEY_USAGE* purposes) {
    std::set<int> numbers;
    for (int i = 0; i < sk_ASN1_OBJECT_num(purposes); ++i) {
        numbers.insert(OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes, i)));
    }
    return numbers;
}

} // namespace

std::optional<KeyUsageValue> keyUsageNamed(std::string_view name) {
    const auto* found =
        std::find_if(KEY_USAGES.begin(), KEY_USAGES.end(),
                     [&](const KeyUsageValue& usage) { return usage.name == name; });
    return found == KEY_USAGES.end() ? std::nullopt : std::optional(*found);
}

std::vector<std::string_view> keyUsageNames() {
    std::vector<std::string_view> names;
    names.reserve(KEY_USAGES.size());
    for (const KeyUsageValue& usage : KEY_USAGES) {
        names.push_back(usage.name);
    }
    return names;
}

bool holdsPurpose(const EXTENDED_KEY_USAGE* purposes, int purpose) {
    for (int i = 0; i < sk_ASN1_OBJECT_num(purposes); ++i) {
        if (OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes, i)) == purpose) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> keyUsageOf(const X509* certificate) {
    const BitStringHandle bits(static_cast<ASN1_BIT_STRING*>(
        X509_get_ext_d2i(certificate, NID_key_usage, nullptr, nullptr)));
    const ExtendedKeyUsageHandle purposes(static_cast<EXTENDED_KEY_USAGE*>(
        X509_get_ext_d2i(certificate, NID_ext_key_usage, nullptr, nullptr)));
    const std::set<int> allowedPurposes = purposesIn(purposes.get());
    std::vector<std::string> names;
    for (const KeyUsageValue& usage : KEY_USAGES) {
        const bool allowed = usage.bit >= 0
                                 ? bits && ASN1_BIT_STRING_get_bit(bits.get(), usage.bit) == 1
                                 : allowedPurposes.count(usage.purpose) > 0;
        if (allowed) {
            names.emplace_back(usage.name);
        }
    }
    return names;
}
