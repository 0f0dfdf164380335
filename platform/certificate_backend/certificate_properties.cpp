// Each part of a name must be printable UTF-8, because what is returned here goes into JSON
// documents and onto screens.

#include "platform/certificate_backend/certificate_properties.h"

#include "platform/x509/dates.h"
#include "platform/x509/key_usage.h"
#include "platform/x509/names.h"
#include "platform/x509/utf8.h"

namespace {

using Identifier = std::unordered_map<std::string, std::string>;

bool fillIdentifier(const X509_NAME* name, Identifier& identifier) {
    for (const NamePart& part : namePartsOf(name)) {
        if (!part.value || !printableLength(*part.value)) {
            return false;
        }
        identifier[std::string(part.property)] = *part.value;
    }
    return true;
}

} // namespace

Fault fillProperties(X509* certificate, CreateCertResult& result) {
    if (!fillIdentifier(X509_get_issuer_name(certificate), result.issuer) ||
        !fillIdentifier(X509_get_subject_name(certificate), result.subject)) {
        return "has a name with control characters or that is no text. Have it issued with a "
               "printable name.";
    }
    const std::optional<std::tm> start = utcTime(X509_get0_notBefore(certificate));
    const std::optional<std::tm> end = utcTime(X509_get0_notAfter(certificate));
    if (!start || !end) {
        return "has validity dates that cannot be read.";
    }
    result.validNotBefore = isoTime(*start);
    result.validNotAfter = isoTime(*end);
    result.keyUsage = keyUsageOf(certificate);
    return std::nullopt;
}
