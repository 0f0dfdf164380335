#include "actions/task_state.h"

#include "core/protocol/channels.h"
#include "core/redis_commands.h"

void publishTaskState(redisContext* context, const TaskChange& change) {
    // A task that nobody follows is no failure.
    (void)redisPublish(context, TASK_STATE_CHANNEL, taskStateMessage(change));
}
