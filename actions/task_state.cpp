#include "actions/task_state.h"

#include "core/constants.h"
#include "core/redis_commands.h"

namespace {

const std::string TASK_STATE_CHANNEL = "TASK_STATE_CHANGE";

// A task that nobody follows is no failure.
void publishState(redisContext* context, const std::string& message) {
    (void)redisPublish(context, TASK_STATE_CHANNEL, message);
}

} // namespace

void publishTaskPending(redisContext* context, const std::string& taskUri) {
    publishState(context, taskUri + " Pending null null");
}

void publishTaskRunning(redisContext* context, const std::string& taskUri) {
    publishState(context, taskUri + " Running null null");
}

void publishTaskCompleted(redisContext* context, const std::string& taskUri) {
    publishState(context, taskUri + " Completed null null");
}

void publishTaskException(redisContext* context, const std::string& taskUri) {
    publishState(context,
                 taskUri + " Exception null null " + MARKER_PREFIX + taskUri + "/ExtendedInfo");
}

std::string taskResultKey(const std::string& taskUri) {
    return MARKER_PREFIX + taskUri + "/Result";
}
