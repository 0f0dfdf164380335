#pragma once

// A certificate as version 1.11.0 of the Redfish Certificate schema shows it: what Redis holds, and
// what is taken from the certificate itself.

#include <nlohmann/json_fwd.hpp>

#include <ctime>
#include <string>

// The stored document (readDocument) at the moment now: those of its properties that the schema
// knows, without a private key that stands in its text, and of a text that OpenSSL can read also
//   SerialNumber, SignatureAlgorithm, Fingerprint, FingerprintHashAlgorithm,
//   in Subject and Issuer DisplayString, AdditionalCommonNames, AdditionalOrganizationalUnits,
//   DomainComponents and AlternativeNames, the lists where they are not empty,
//   ValidNotBefore and ValidNotAfter when the stored ones are no dates with a zone.
// Status follows from ValidNotAfter (certificateStatus); with a condition, "@odata.etag" has an
// ending of its own, since the document is another one then.
[[nodiscard]] nlohmann::json certificateView(const nlohmann::json& stored, const std::string& uri,
                                             std::time_t now);
