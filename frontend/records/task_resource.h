#pragma once

// The task resources, which are the front end's to keep: one for each signing request that may run
// as a task (Redfish Task schema 1.4).
//
// The daemon announces a task's states and leaves its result below the task's URI; whoever is there
// writes the state into the resource. When nobody was, the result shows that the task has ended.

#include "frontend/exchange/service_answer.h"

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

// A new task of state "New"; its URI.
[[nodiscard]] std::string createTask(redisContext* context, const std::string& name);

// Writes the state into the resource; with a final state its end and what it has come to.
void setTaskState(redisContext* context, const std::string& taskUri, const std::string& state);

// The tasks, oldest first, each brought up to date from its result.
[[nodiscard]] std::vector<TaskSummary> listTasks(redisContext* context);

// One task, brought up to date; nothing when there is none.
[[nodiscard]] std::optional<TaskSummary> findTask(redisContext* context,
                                                  const std::string& taskUri);

// What the task has come to; nothing while it has no result.
[[nodiscard]] std::optional<ServiceAnswer> readTaskResult(redisContext* context,
                                                          const std::string& taskUri);

// Removes the task with its result.
void removeTask(redisContext* context, const std::string& taskUri);
