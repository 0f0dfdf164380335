#pragma once

// Whether a chain may be installed: all checks together, the cheap ones of every certificate before
// the first signature is verified.

#include "platform/certificate_backend/path_validation.h"

#include <string>

// What a chain is to be installed by. Without roots (null) only that its end is trusted is left
// out; in a collection of trust they are not asked, because it is what defines trust.
struct AdmissionRules {
    PathRules path;
    X509_STORE* roots;
};

// The signature of a self-signed certificate counts only when it is the identity itself: on a root
// it proves nothing.
[[nodiscard]] Fault admissionFault(const CertificateChain& chain, const AdmissionRules& rules);
