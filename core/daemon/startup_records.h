#pragma once

// What start-up leaves in Redis for the front end: the service's settings, the links from request
// queues to channels, and the mark that signing requests may run as tasks.

struct redisContext;

// Writes whatever is not there yet. False, with the reason in the log, when a queue cannot be read
// or a link cannot be pushed; a setting that cannot be written is only logged.
[[nodiscard]] bool writeStartupRecords(redisContext* context);

// Marks the GenerateCSR action as one that may run asynchronously. A failure is logged.
void initAsyncSupport(redisContext* context);
