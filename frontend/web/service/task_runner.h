#pragma once

// Signing requests that run as tasks, each followed to its end while its client does other things.
//
// One thread listens to the states that the daemon announces and writes them into the tasks'
// resources. It also looks after every task by itself each second: a result ends its task although
// the announcement was missed; a task ends as "Exception" when no daemon listens any more, and when
// neither it nor one begun before it has changed for so long. A task that Redis has lost is
// followed no more.

#include "frontend/exchange/deadline.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct redisContext;
struct TaskChange;

struct TaskLimits {
    std::size_t most = 64;  // tasks that run at a time
    double silence = 600;   // seconds that a task may go without a sign of life
    std::size_t kept = 200; // tasks that there are before the oldest ended one makes room
};

// Safe on any thread; each caller uses a session of its own. Functions throw FrontEndError as
// frontend/records/task_resource.h says.
class TaskRunner {
public:
    TaskRunner() = default;
    explicit TaskRunner(const TaskLimits& taskLimits) : limits(taskLimits) {}
    TaskRunner(const TaskRunner&) = delete;
    TaskRunner& operator=(const TaskRunner&) = delete;
    ~TaskRunner(); // waits for the thread's end, which comes soon; tasks that run go on without it

    // Makes a task's resource and listens for the task; its URI. The request for it may be sent
    // then. Throws Refusal (503) when as many tasks as may be run already.
    [[nodiscard]] std::string begin(redisContext* session, const std::string& name);

    // The daemon carries the request out as this task.
    void noteAccepted(const std::string& taskUri);

    // The task never came to be: removes its resource. Does not throw; the resource stays when
    // Redis has gone.
    void cancel(redisContext* session, const std::string& taskUri);

    // Looks after a task that another program, or an earlier run of this one, began. Without effect
    // for one that is followed already, and when as many tasks as may be are.
    void follow(const std::string& taskUri);

private:
    struct Followed {
        std::string uri;
        Clock::time_point deadline;
        bool isAccepted = false; // until then it is for the one who began it to end it
    };

    void startListening();
    void listen();
    void listenOnce();
    bool pause(double seconds);
    [[nodiscard]] bool isEnding();
    void note(redisContext* session, const TaskChange& change);
    void lookAfterAll(redisContext* session);
    void lookAfter(redisContext* session, const Followed& task, bool isDaemonGone);
    void renew(const std::string& taskUri);
    void drop(const std::string& taskUri);

    const TaskLimits limits{};
    std::mutex mutex; // guards what follows, apart from the thread
    std::condition_variable changed;
    std::vector<Followed> tasks; // in the order in which they began
    std::size_t beginning = 0;   // tasks whose resource is being made
    bool isListening = false;
    bool stopping = false;
    std::once_flag started;
    std::thread thread;
};
