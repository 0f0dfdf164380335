#pragma once

// The front end's share in the records of certificates: what the daemon leaves to it after a
// deletion and after a replacement.
//
// Functions throw FrontEndError (NO_REDIS) when Redis cannot be reached or refuses a command.

#include <string>
#include <vector>

struct redisContext;

// Removes the certificate from the resources: itself, its entry in the collection's members and in
// the certificate locations; sets the collection's count and both entity tags.
void removeCertificateRecords(redisContext* context, const std::string& certificateUri);

// Sets the resource's certificate properties, its type and its entity tag from the text that took
// the old one's place. False, with nothing changed, when OpenSSL cannot read the text.
bool refreshCertificateRecords(redisContext* context, const std::string& certificateUri,
                               const std::string& text, const std::string& certificateType);

// An installed certificate, as its records show it.
struct InstalledCertificate {
    std::string text;                // the certificate and its chain
    std::string type;                // a Redfish certificate type
    std::string privateKeyReference; // empty: none
};

// Writes the records that a creation leaves: the resource, its entry in the collection's members
// and in the certificate locations, each where it is missing. False, with nothing changed, when the
// collection is not there or OpenSSL cannot read the text.
[[nodiscard]] bool restoreCertificateRecords(redisContext* context,
                                             const std::string& certificateUri,
                                             const InstalledCertificate& certificate);

// Whether all records of the certificate are there.
[[nodiscard]] bool isCertificateStored(redisContext* context, const std::string& certificateUri);

// The certificates that Redis knows, sorted: the members of the collections that the certificate
// locations or the other URIs lead to, and the certificate locations.
[[nodiscard]] std::vector<std::string>
listCertificateRecords(redisContext* context, const std::vector<std::string>& otherUris);
