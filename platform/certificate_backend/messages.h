#pragma once

// The messages of the DMTF Base registry (1.9) with which the backend answers. The arguments are in
// registry order; a related property is a JSON pointer into the request body, for example
// "#/CertificateString".

#include "platform/certificate_backend.h"

#include <string>

constexpr const char* CERTIFICATE_STRING_PROPERTY = "CertificateString";
constexpr const char* CERTIFICATE_TYPE_PROPERTY = "CertificateType";
constexpr const char* GENERATE_CSR_ACTION = "CertificateService.GenerateCSR";
constexpr const char* REPLACE_CERTIFICATE_ACTION = "CertificateService.ReplaceCertificate";

// Shown behind a certificate type that is none of them.
constexpr const char* ACCEPTED_CERTIFICATE_TYPES = " (accepted: PEM, PEMchain, PKCS7)";

[[nodiscard]] MessageInfo propertyValueFormatError(const std::string& value,
                                                   const std::string& property);
[[nodiscard]] MessageInfo propertyValueNotInList(const std::string& value,
                                                 const std::string& property);

[[nodiscard]] MessageInfo parameterMissing(const std::string& action, const std::string& parameter);
[[nodiscard]] MessageInfo parameterUnknown(const std::string& action, const std::string& parameter);
[[nodiscard]] MessageInfo parameterValueFormatError(const std::string& value,
                                                    const std::string& parameter,
                                                    const std::string& action);
[[nodiscard]] MessageInfo parameterValueNotInList(const std::string& value,
                                                  const std::string& parameter,
                                                  const std::string& action);
[[nodiscard]] MessageInfo parameterValueTypeError(const std::string& value,
                                                  const std::string& parameter,
                                                  const std::string& action);

[[nodiscard]] MessageInfo resourceMissingAtUri(const std::string& uri);
[[nodiscard]] MessageInfo resourceAlreadyExists(const std::string& type,
                                                const std::string& property,
                                                const std::string& value);
[[nodiscard]] MessageInfo noOperation();
[[nodiscard]] MessageInfo internalError();
