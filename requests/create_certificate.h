#pragma once

// Creation of a certificate: a POST to a certificate collection.

#include <pthread.h>

#include <string>

struct redisContext;

// Handles one creation request: reads the request record, takes the collection lock for about two
// seconds, creates the certificate and publishes the status key on the request's return channel. A
// target URI whose last segment is "Members" means the collection above it. Returns the result of
// createCertificate, or 0 when it stopped earlier. Throws nlohmann::json::type_error for a field of
// the record or the body that is missing or no string.
int handleCreateCertificate(redisContext* context, const std::string& requestKey,
                            const std::string& statusKey, pthread_mutex_t* collectionLock);

// Creates the certificate of the request body: asks the backend to install it, stores and links the
// resource, writes the return status and raises the events. 0 on failure, otherwise the result of
// the events: 0 can therefore also mean that the certificate is there, with status "OK", and only
// its events failed. Nothing is rolled back. The caller holds the collection lock.
int createCertificate(redisContext* context, const std::string& requestDataKey,
                      const std::string& collectionUri, const std::string& statusKey);
