#pragma once

// The properties of a certificate as the Redfish Certificate schema (1.2) shows them, taken from
// the certificate's text.

#include <nlohmann/json_fwd.hpp>

#include <string>

// CertificateString (the certificates alone, no private key), ValidNotBefore, ValidNotAfter,
// Subject, Issuer and KeyUsage of the certificate that the text is about: in a chain the one that
// issued none of the others. A null document when OpenSSL cannot read the text.
[[nodiscard]] nlohmann::json certificateProperties(const std::string& text);
