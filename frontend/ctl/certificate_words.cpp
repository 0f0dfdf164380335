#include "frontend/ctl/certificate_words.h"

#include "core/protocol/redfish_names.h"
#include "frontend/ctl/output.h"
#include "frontend/records/timestamps.h"

#include <nlohmann/json.hpp>

#include <array>
#include <vector>

namespace {

using nlohmann::json;

std::string memberText(const json& document, const std::string& name) {
    const auto found = document.find(name);
    return found != document.end() && found->is_string() ? found->get<std::string>()
                                                         : std::string();
}

struct ShownProperty {
    const char* property;
    const char* shown;
};

// In the order of RFC 4514: the most specific first.
constexpr std::array<ShownProperty, 7> NAME_PROPERTIES = {{{"Email", "emailAddress"},
                                                           {"CommonName", "CN"},
                                                           {"OrganizationalUnit", "OU"},
                                                           {"Organization", "O"},
                                                           {"City", "L"},
                                                           {"State", "ST"},
                                                           {"Country", "C"}}};

// Of newer versions of the schema, which not every backend gives.
constexpr std::array<ShownProperty, 4> NEWER_PROPERTIES = {
    {{"SerialNumber", "serial"},
     {"SignatureAlgorithm", "signature"},
     {"Fingerprint", "fingerprint"},
     {"FingerprintHashAlgorithm", "digest"}}};

void printKeyUsage(const json& certificate) {
    const auto usage = certificate.find(KEY_USAGE);
    if (usage == certificate.end() || !usage->is_array()) {
        return;
    }
    std::vector<std::string> names;
    for (const json& name : *usage) {
        names.push_back(name.is_string() ? name.get<std::string>() : name.dump());
    }
    printField("key usage", names.empty() ? "(not restricted)" : joined(names));
}

} // namespace

std::string nameText(const nlohmann::json& certificate, const std::string& property) {
    const auto found = certificate.find(property);
    if (found == certificate.end() || !found->is_object()) {
        return {};
    }
    std::vector<std::string> parts;
    for (const ShownProperty& part : NAME_PROPERTIES) {
        const std::string value = memberText(*found, part.property);
        if (!value.empty()) {
            parts.push_back(std::string(part.shown) + "=" + value);
        }
    }
    return joined(parts);
}

void printCertificate(const nlohmann::json& certificate) {
    if (!certificate.is_object()) {
        return;
    }
    printField("subject", nameText(certificate, SUBJECT));
    printField("issuer", nameText(certificate, ISSUER));
    printField("valid", memberText(certificate, VALID_NOT_BEFORE) + " to " +
                            memberText(certificate, VALID_NOT_AFTER));
    printKeyUsage(certificate);
    printField("type", memberText(certificate, CERTIFICATE_TYPE));
    for (const ShownProperty& newer : NEWER_PROPERTIES) {
        const std::string value = memberText(certificate, newer.property);
        if (!value.empty()) {
            printField(newer.shown, value);
        }
    }
}

long long daysBetween(std::time_t from, std::time_t to) {
    constexpr long long DAY_SECONDS = 86400;
    const long long seconds = static_cast<long long>(to) - static_cast<long long>(from);
    return seconds >= 0 ? seconds / DAY_SECONDS : -((-seconds + DAY_SECONDS - 1) / DAY_SECONDS);
}

std::optional<std::time_t> expiryOf(const nlohmann::json& certificate) {
    return certificate.is_object() ? timeOfIso(memberText(certificate, VALID_NOT_AFTER))
                                   : std::nullopt;
}
