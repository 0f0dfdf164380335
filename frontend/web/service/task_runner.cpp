#include "frontend/web/service/task_runner.h"

#include "core/at_scope_end.h"
#include "core/protocol/channels.h"
#include "core/protocol/messages.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/interrupt.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/subscription.h"
#include "frontend/records/task_resource.h"
#include "frontend/web/service/answer.h"

#include <algorithm>

namespace {

constexpr double LISTENING_SECONDS = 0.2; // until the end of the program is noticed
constexpr double CHECK_SECONDS = 1.0;
constexpr std::chrono::seconds START_WAIT{2};

bool isDaemonThere(redisContext* session) {
    const RedisReply reply = runCommand(session, {"PUBSUB", "NUMSUB", ACTION_CHANNEL});
    return reply->type == REDIS_REPLY_ARRAY && reply->elements == 2 &&
           reply->element[1]->integer > 0;
}

Refusal tooManyTasks(std::size_t most) {
    return serviceUnavailable("As many tasks as may be (" + std::to_string(most) +
                              ") are under way already.");
}

} // namespace

TaskRunner::~TaskRunner() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
        changed.notify_all();
    }
    if (thread.joinable()) {
        thread.join();
    }
}

std::string TaskRunner::begin(redisContext* session, const std::string& name) {
    startListening();
    {
        const std::lock_guard lock(mutex);
        if (tasks.size() + beginning >= limits.most) {
            throw tooManyTasks(limits.most);
        }
        ++beginning;
    }
    const AtScopeEnd begun([this] {
        const std::lock_guard lock(mutex);
        --beginning;
    });
    removeOldTasks(session, limits.kept - 1);
    std::string uri = createTask(session, name);
    const std::lock_guard lock(mutex);
    tasks.push_back({uri, deadlineIn(limits.silence)});
    return uri;
}

void TaskRunner::noteAccepted(const std::string& taskUri) {
    const std::lock_guard lock(mutex);
    for (Followed& task : tasks) {
        task.isAccepted = task.isAccepted || task.uri == taskUri;
    }
}

void TaskRunner::cancel(redisContext* session, const std::string& taskUri) {
    drop(taskUri);
    try {
        removeTask(session, taskUri);
    } catch (const FrontEndError&) {
        // The request has failed for the same reason, which its client learns.
    }
}

void TaskRunner::follow(const std::string& taskUri) {
    startListening();
    const std::lock_guard lock(mutex);
    const bool isFollowed = std::any_of(tasks.begin(), tasks.end(),
                                        [&](const Followed& task) { return task.uri == taskUri; });
    if (!isFollowed && tasks.size() + beginning < limits.most) {
        tasks.push_back({taskUri, deadlineIn(limits.silence), true});
    }
}

// Waits a moment for the first subscription, so that no state is missed; without one the results
// tell.
void TaskRunner::startListening() {
    std::call_once(started, [this] { thread = std::thread([this] { listen(); }); });
    std::unique_lock lock(mutex);
    (void)changed.wait_for(lock, START_WAIT, [this] { return isListening || stopping; });
}

void TaskRunner::listen() {
    while (!isEnding()) {
        try {
            listenOnce();
        } catch (const FrontEndError&) {
            const std::lock_guard lock(mutex);
            isListening = false;
        }
        (void)pause(CHECK_SECONDS);
    }
}

void TaskRunner::listenOnce() {
    const RedisConnection session = openRedisSession();
    const RedisConnection subscriber = openRedisSession();
    subscribe(subscriber.get(), {TASK_STATE_CHANNEL});
    {
        const std::lock_guard lock(mutex);
        isListening = true;
        changed.notify_all();
    }
    Clock::time_point nextCheck = Clock::now();
    while (!isEnding()) {
        const auto message = nextMessage(subscriber.get(), deadlineIn(LISTENING_SECONDS));
        const auto change = message ? parseTaskStateMessage(message->text) : std::nullopt;
        if (change) {
            note(session.get(), *change);
        }
        if (Clock::now() >= nextCheck) {
            lookAfterAll(session.get());
            nextCheck = deadlineIn(CHECK_SECONDS);
        }
    }
}

bool TaskRunner::pause(double seconds) {
    std::unique_lock lock(mutex);
    return changed.wait_until(lock, deadlineIn(seconds), [this] { return stopping; });
}

bool TaskRunner::isEnding() {
    const std::lock_guard lock(mutex);
    return stopping || wasInterrupted();
}

// A final state is told by the result, which stands there before it is announced.
void TaskRunner::note(redisContext* session, const TaskChange& change) {
    renew(change.taskUri);
    const std::optional<TaskSummary> task = findTask(session, change.taskUri);
    if (task && !isFinalTaskState(task->state) && !isFinalTaskState(change.state)) {
        setTaskState(session, change.taskUri, change.state);
    }
}

void TaskRunner::lookAfterAll(redisContext* session) {
    std::vector<Followed> followed;
    {
        const std::lock_guard lock(mutex);
        followed = tasks;
    }
    if (followed.empty()) {
        return;
    }
    const bool isDaemonGone = !isDaemonThere(session);
    for (const Followed& task : followed) {
        lookAfter(session, task, isDaemonGone);
    }
}

void TaskRunner::lookAfter(redisContext* session, const Followed& task, bool isDaemonGone) {
    const std::optional<TaskSummary> found = findTask(session, task.uri);
    if (!found || isFinalTaskState(found->state)) {
        drop(task.uri);
        return;
    }
    if (!task.isAccepted) {
        return;
    }
    if (isDaemonGone) {
        endWithoutResult(session, task.uri, "The daemon has ended before the task was done.");
        drop(task.uri);
    } else if (Clock::now() >= task.deadline) {
        endWithoutResult(session, task.uri,
                         "The daemon has given no sign of the task for too long.");
        drop(task.uri);
    }
}

// The daemon carries tasks out one after the other, so one that changes tells that those behind it
// still wait.
void TaskRunner::renew(const std::string& taskUri) {
    const std::lock_guard lock(mutex);
    auto task = std::find_if(tasks.begin(), tasks.end(),
                             [&](const Followed& each) { return each.uri == taskUri; });
    for (; task != tasks.end(); ++task) {
        task->deadline = deadlineIn(limits.silence);
    }
}

void TaskRunner::drop(const std::string& taskUri) {
    const std::lock_guard lock(mutex);
    std::erase_if(tasks, [&](const Followed& task) { return task.uri == taskUri; });
}
