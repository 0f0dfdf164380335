#pragma once

// What is said on the channels: the announcement of a request, and the state of a task.
//
//   announcement  request key " " status key
//   task state    task URI " " state " null null" [" " key of the extended information]
//
// The two words "null" belong to the task service and are always sent as they are.

#include <optional>
#include <string>

struct RequestKeys {
    std::string requestKey;
    std::string statusKey;
};

[[nodiscard]] std::string requestAnnouncement(const RequestKeys& keys);

// Splits at the first blank; further blanks stay in the status key. A message without a blank is
// both keys.
[[nodiscard]] RequestKeys splitChannelMessage(const std::string& message);

// States of a task (Redfish Task schema 1.x, TaskState).
inline constexpr char TASK_PENDING[] = "Pending";
inline constexpr char TASK_RUNNING[] = "Running";
inline constexpr char TASK_COMPLETED[] = "Completed";
inline constexpr char TASK_EXCEPTION[] = "Exception"; // names its extended information

struct TaskChange {
    std::string taskUri;
    std::string state;
};

[[nodiscard]] std::string taskStateMessage(const TaskChange& change);

// Nothing for a text of another form.
[[nodiscard]] std::optional<TaskChange> parseTaskStateMessage(const std::string& text);

// Whether no other state follows.
[[nodiscard]] bool isFinalTaskState(const std::string& state);
