#pragma once

// The worker that carries out the signing requests that run as tasks.

#include "platform/certificate_backend.h"

#include <cstdint>
#include <string>

struct redisContext;

// Thread body for pthread_create. Takes the queued requests one by one, oldest first, on a Redis
// connection of its own, without holding the queue's lock while it works. Ends when the connection
// cannot be made, after three null entries in a row, or when an exception leaves the work; the
// reason is logged and what is queued then stays queued. The argument is not used.
void* asyncCSRWorker(void* collectionLock);

// Writes the result of a task that succeeded and announces it.
void completeCSRTask(redisContext* context, const std::string& taskUri, const std::string& csr,
                     const std::string& collectionUri);

// Writes the result of a task that failed, with the backend's message, and announces it. The
// extended information does not expire: the task service keeps it as long as the task.
void failCSRTask(redisContext* context, const std::string& taskUri, std::int32_t code,
                 const MessageInfo& message);
