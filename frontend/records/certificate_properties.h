#pragma once

// The properties of a certificate as the Redfish Certificate schema (1.2) shows them, taken from
// the certificate's text.

#include <nlohmann/json_fwd.hpp>

#include <string>

// CertificateString (the certificates alone, no private key), ValidNotBefore, ValidNotAfter,
// Subject, Issuer and KeyUsage of the certificate that the text is about: the one that its
// private key belongs to, else the one that issued none of the others. CertificateString holds it
// and its issuers; certificates that do not belong to this chain are left out, as the backend does.
// A null document when OpenSSL cannot read the text.
[[nodiscard]] nlohmann::json certificateProperties(const std::string& text);
