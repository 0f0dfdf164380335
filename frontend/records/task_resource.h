#pragma once

// The task resources, which the front end keeps: one for each signing request that may run as a
// task (Redfish Task schema 1.4).
//
// The daemon announces a task's states and leaves its result below the task's URI; a front end that
// waits writes the state into the resource. When none did, the result shows that the task has
// ended.
//
// Functions throw FrontEndError (NO_REDIS) when Redis cannot be reached or refuses a command.

#include "frontend/exchange/service_answer.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

struct redisContext;

struct TaskSummary {
    std::string uri;
    std::string name;
    std::string state;
    std::string startTime;
    std::string endTime; // empty while it has none
};

// Makes a task of state "New"; returns its URI.
[[nodiscard]] std::string createTask(redisContext* context, const std::string& name);

// Writes the state into the resource; with a final state also its end time and its result's
// message. A task that has ended stays as it is. Safe on any thread, as findTask is.
void setTaskState(redisContext* context, const std::string& taskUri, const std::string& state);

// Ends the task in the state "Exception" although it has no result; the sentence says why.
void endWithoutResult(redisContext* context, const std::string& taskUri,
                      const std::string& sentence);

// The tasks, oldest first, each brought up to date from its result.
[[nodiscard]] std::vector<TaskSummary> listTasks(redisContext* context);

// One task, brought up to date; nothing when there is none.
[[nodiscard]] std::optional<TaskSummary> findTask(redisContext* context,
                                                  const std::string& taskUri);

// The result that the daemon has left; nothing while there is none. Waits a moment, 200 ms at most,
// for the rest of one that is being written.
[[nodiscard]] std::optional<ServiceAnswer> readTaskResult(redisContext* context,
                                                          const std::string& taskUri);

// Removes the task with its result.
void removeTask(redisContext* context, const std::string& taskUri);

// Removes tasks that have ended, oldest first, until there are no more than so many tasks. Those
// that have not ended stay.
void removeOldTasks(redisContext* context, std::size_t most);
