#include "platform/certificate_backend/requested_usage.h"

#include <algorithm>
#include <array>

namespace {

using Usages = std::vector<KeyUsageValue>;

bool has(const Usages& usages, std::string_view name) {
    return std::any_of(usages.begin(), usages.end(),
                       [&](const KeyUsageValue& usage) { return usage.name == name; });
}

bool hasPurposeBeside(const Usages& usages, std::string_view name) {
    return std::any_of(usages.begin(), usages.end(), [&](const KeyUsageValue& usage) {
        return usage.bit < 0 && usage.name != name;
    });
}

struct UsageRule {
    std::string_view usage;
    bool (*conflicts)(const Usages& usages, bool isEllipticCurve);
    const char* sentence; // after the usage's name
};

bool always(const Usages& /*usages*/, bool /*isEllipticCurve*/) {
    return true;
}

bool lacksAgreement(const Usages& usages, bool /*isEllipticCurve*/) {
    return !has(usages, "KeyAgreement");
}

bool isForCurve(const Usages& /*usages*/, bool isEllipticCurve) {
    return isEllipticCurve;
}

bool isNotAlone(const Usages& usages, bool /*isEllipticCurve*/) {
    return hasPurposeBeside(usages, "Timestamping");
}

// RFC 5280, 4.2.1.3; RFC 8422, 5.3, for the keys of curves; RFC 3161, 2.3, for time stamps.
constexpr std::array<UsageRule, 6> RULES = {{
    {"KeyCertSign", always,
     " is for certification authorities, for which no request is made here. Leave it out."},
    {"CRLSigning", always,
     " is for certification authorities, for which no request is made here. Leave it out."},
    {"EncipherOnly", lacksAgreement,
     " means something beside KeyAgreement alone. Give that too, or leave it out."},
    {"DecipherOnly", lacksAgreement,
     " means something beside KeyAgreement alone. Give that too, or leave it out."},
    {"KeyEncipherment", isForCurve,
     " needs an RSA key, and this request is for one on a curve. Give KeyPairAlgorithm "
     "TPM_ALG_RSA, "
     "or KeyAgreement in its place."},
    {"Timestamping", isNotAlone,
     " stands alone among the extended usages. Make a request of its own for it."},
}};

} // namespace

std::vector<std::string_view> requestableUsages() {
    std::vector<std::string_view> names = keyUsageNames();
    std::erase_if(names, [](std::string_view name) {
        return std::any_of(RULES.begin(), RULES.end(), [&](const UsageRule& rule) {
            return rule.usage == name && rule.conflicts == always;
        });
    });
    return names;
}

Fault keyUsageConflict(const std::vector<KeyUsageValue>& usages, bool isEllipticCurve) {
    for (const UsageRule& rule : RULES) {
        if (has(usages, rule.usage) && rule.conflicts(usages, isEllipticCurve)) {
            return std::string(rule.usage) + rule.sentence;
        }
    }
    return std::nullopt;
}
