#pragma once

// Announcing the states of Redfish tasks (Task schema 1.x, TaskState) on the task-state channel.
// The task service keeps the task resources; the daemon only tells it what happens.
//
// A message is words separated by single blanks: task URI, state, "null", "null". The last two
// belong to the task service and are always sent as they are; an exception has one word more.

#include <string>

struct redisContext;

void publishTaskPending(redisContext* context, const std::string& taskUri);
void publishTaskRunning(redisContext* context, const std::string& taskUri);
void publishTaskCompleted(redisContext* context, const std::string& taskUri);

// The message's fifth word names the place of the extended information: "&&" task URI
// "/ExtendedInfo".
void publishTaskException(redisContext* context, const std::string& taskUri);

// The key under which a task's return status is written.
[[nodiscard]] std::string taskResultKey(const std::string& taskUri);
