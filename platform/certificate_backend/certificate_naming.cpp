#include "platform/certificate_backend/certificate_naming.h"

#include "platform/x509/names.h"
#include "platform/x509/utf8.h"

namespace {

std::string shortName(const X509_NAME* name) {
    const std::optional<std::string> whole = wholeName(name);
    return !whole ? "no readable name" : whole->empty() ? "no name" : shownInMessage(*whole);
}

} // namespace

std::string certificateNaming(X509* certificate, std::size_t depth) {
    return "Certificate " + std::to_string(depth) + " of the chain (" + subjectNaming(certificate) +
           ")";
}

std::string subjectNaming(X509* certificate) {
    return shortName(X509_get_subject_name(certificate));
}

std::string issuerNaming(X509* certificate) {
    return shortName(X509_get_issuer_name(certificate));
}

Fault saidOf(X509* certificate, std::size_t depth, const Fault& fault) {
    return fault ? Fault(certificateNaming(certificate, depth) + " " + *fault) : std::nullopt;
}
