#pragma once

// Announcing the states of Redfish tasks on the task-state channel. The task service keeps the task
// resources; the daemon only tells it what happens.

#include "core/protocol/messages.h"

struct redisContext;

// Publishes the change. Whether anybody follows the task makes no difference.
void publishTaskState(redisContext* context, const TaskChange& change);
