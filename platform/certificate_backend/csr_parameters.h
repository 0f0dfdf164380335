#pragma once

// The parameters of the Redfish action GenerateCSR (CertificateService 1.0), read and checked.

#include "platform/certificate_backend.h"
#include "platform/x509/key_usage.h"
#include "platform/x509/openssl_handles.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One attribute of the subject name.
struct SubjectAttribute {
    int attribute; // OpenSSL's number
    std::string value;
};

struct CsrParameters {
    std::vector<SubjectAttribute> subject;           // in the order of the name
    std::vector<GeneralNameHandle> alternativeNames; // the common name's, when none is given
    std::vector<KeyUsageValue> keyUsage;
    std::string_view challengePassword; // in the request; empty when not given
    std::string_view unstructuredName;  // in the request; empty when not given
    unsigned int rsaBits = 0;           // 2048, 3072 or 4096; 0 for an elliptic curve
    std::string curve;                  // "P-256", "P-384" or "P-521"; empty for RSA
};

// Fills the parameters from the request, which must outlive them, or returns the message that
// refuses the request.
//
// CommonName must be there. A text parameter that is empty counts as not given, except CommonName
// and ChallengePassword: an empty challenge password is one that could not be decrypted. A
// parameter that the action does not have is refused rather than silently ignored; annotations
// ("@...", "name@...") and the front end's own fields ("&&...") are ignored. No message holds the
// challenge password.
[[nodiscard]] std::optional<MessageInfo> readCsrParameters(const CSRRequest& request,
                                                           CsrParameters& parameters);
