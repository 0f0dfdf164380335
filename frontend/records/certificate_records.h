#pragma once

// The front end's share in the records of certificates: what the daemon leaves to it after a
// deletion and after a replacement.
//
// Functions throw FrontEndError (NO_REDIS) when Redis cannot be reached or refuses a command.

#include <string>

struct redisContext;

// Removes the certificate from the resources: itself, its entry in the collection's members and in
// the certificate locations; sets the collection's count and both entity tags.
void removeCertificateRecords(redisContext* context, const std::string& certificateUri);

// Sets the resource's certificate properties, its type and its entity tag from the text that took
// the old one's place. False, with nothing changed, when OpenSSL cannot read the text.
bool refreshCertificateRecords(redisContext* context, const std::string& certificateUri,
                               const std::string& text, const std::string& certificateType);
