#pragma once

// The answers to a signing request.

#include <string>

struct redisContext;

// Stores the signing request and a reference to its collection below the status key, and writes the
// return status "OK_RES" that points at them, also when the storing failed, which is logged.
void writeCSRResponse(redisContext* context, const std::string& statusKey, const std::string& csr,
                      const std::string& collectionUri);

// Writes the return status "PROCESSING" that points at the task and at where its response would be.
void writePendingTaskStatus(redisContext* context, const std::string& statusKey,
                            const std::string& taskUri);
