#pragma once

// The messages with which the daemon announces the states of tasks.
//
//   task URI, state, "null", "null" [, key of the extended information]    single blanks between

#include <optional>
#include <string>

inline constexpr const char* TASK_STATE_CHANNEL = "TASK_STATE_CHANGE";

struct TaskChange {
    std::string taskUri;
    std::string state; // a Redfish TaskState: "Pending", "Running", "Completed", "Exception"
};

// Nothing for a text of another form.
[[nodiscard]] std::optional<TaskChange> parseTaskMessage(const std::string& text);

// Whether no other state follows.
[[nodiscard]] bool isFinalState(const std::string& state);
