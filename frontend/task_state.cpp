#include "frontend/task_state.h"

#include <sstream>

std::optional<TaskChange> parseTaskMessage(const std::string& text) {
    std::istringstream words(text);
    TaskChange change;
    std::string percent;
    std::string message;
    if (!(words >> change.taskUri >> change.state >> percent >> message)) {
        return std::nullopt;
    }
    return change;
}

bool isFinalState(const std::string& state) {
    return state == "Completed" || state == "Exception";
}
