#pragma once

// The three places in which a created certificate appears: its own resource, its collection's
// member list and the certificate locations.

#include "platform/certificate_backend.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

struct redisContext;

// Puts what the backend found out about the certificate into the body. A missing e-mail address of
// subject or issuer becomes null.
void addCertificateProperties(nlohmann::json& body, const CreateCertResult& result);

// Completes the body to a Certificate resource (schema 1.2.2) and stores it at newUri. Members of
// the same names in the body are overwritten. True when it was stored.
[[nodiscard]] bool createCertificateResource(redisContext* context, nlohmann::json& body,
                                             const std::string& identifier,
                                             const std::string& newUri);

// Records where the backend keeps the certificate's private key. A failure is ignored: the
// certificate is installed.
void setPrivateKeyReference(redisContext* context, const std::string& certificateUri,
                            const std::string& privateKeyValue);

// The same for a certificate that has one already, which an empty value removes.
void replacePrivateKeyReference(redisContext* context, const std::string& certificateUri,
                                const std::string& privateKeyValue);

// Puts a reference to the certificate at the head of the collection's members and updates the
// collection's count and entity tag. False when one of the two failed.
[[nodiscard]] bool addCollectionMember(redisContext* context, const std::string& newUri,
                                       const std::string& collectionUri);

// Puts a reference to the certificate at the head of the locations' links and updates the
// locations' entity tag. False when the link could not be pushed.
[[nodiscard]] bool addCertificateLocation(redisContext* context, const std::string& newUri,
                                          const std::string& linksKey);
