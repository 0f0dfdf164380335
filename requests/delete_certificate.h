#pragma once

// Removal of a certificate: a DELETE of its resource. The daemon has the backend remove the
// certificate, answers and raises the events; the certificate's records in Redis are removed by the
// front end after the answer "OK_EMPTY".

#include <pthread.h>

#include <string>

struct redisContext;

// Handles one deletion request: reads the request record, takes the collection lock for about two
// seconds, has the certificate removed and publishes the status key on the request's return
// channel. 1 when the certificate was removed and the events were raised, 0 otherwise. Throws
// nlohmann::json::type_error for a field of the record that is missing or no string.
int handleDeleteCertificate(redisContext* context, const std::string& requestKey,
                            const std::string& statusKey, pthread_mutex_t* collectionLock);

// Writes the success status and raises the events; returns the result of the events.
int finishCertificateDelete(redisContext* context, const std::string& certificateUri,
                            const std::string& statusKey);
