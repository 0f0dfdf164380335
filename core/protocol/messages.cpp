#include "core/protocol/messages.h"

#include "core/protocol/keys.h"

#include <sstream>

std::string requestAnnouncement(const RequestKeys& keys) {
    return keys.requestKey + " " + keys.statusKey;
}

RequestKeys splitChannelMessage(const std::string& message) {
    const std::size_t blank = message.find(' ');
    // Without a blank blank + 1 is 0: the whole message again.
    return {message.substr(0, blank), message.substr(blank + 1)};
}

std::string taskStateMessage(const TaskChange& change) {
    std::string message = change.taskUri + " " + change.state + " null null";
    if (change.state == TASK_EXCEPTION) {
        message += " " + taskExtendedInfoKey(change.taskUri);
    }
    return message;
}

std::optional<TaskChange> parseTaskStateMessage(const std::string& text) {
    std::istringstream words(text);
    TaskChange change;
    std::string percent;
    std::string message;
    if (!(words >> change.taskUri >> change.state >> percent >> message)) {
        return std::nullopt;
    }
    return change;
}

bool isFinalTaskState(const std::string& state) {
    return state == TASK_COMPLETED || state == TASK_EXCEPTION;
}
