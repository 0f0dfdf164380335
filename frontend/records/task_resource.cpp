#include "frontend/records/task_resource.h"

#include "core/protocol/fields.h"
#include "core/protocol/keys.h"
#include "core/protocol/message_ids.h"
#include "core/protocol/messages.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/redfish_messages.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/exchange/stored_text.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/member_count.h"
#include "frontend/records/seed_records.h"
#include "frontend/records/timestamps.h"
#include "store/markers.h"
#include "store/resource_store.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

namespace {

using nlohmann::json;

constexpr const char* TASK_COUNTER_FIELD = "&&TASK_ID_COUNTER";
// The daemon writes a result's status first, and what it names a moment later. What is not there by
// then has expired.
constexpr int MOST_TRIES = 20;
constexpr std::chrono::milliseconds TRY_PAUSE{10};

constexpr const char* NEW_TASK = "New"; // until the daemon announces a state

std::string textOf(const json& document, const char* name) {
    const auto found = document.find(name);
    return found != document.end() && found->is_string() ? found->get<std::string>()
                                                         : std::string();
}

json messagesOf(const ServiceAnswer& result) {
    if (result.messageId.empty()) {
        return json::array();
    }
    return json::array({{{"MessageId", result.messageId},
                         {"MessageArgs", result.messageArgs},
                         {"Message", describeMessage(result.messageId, result.messageArgs)}}});
}

// What a task has besides its state once it has ended.
json endOf(const std::string& state, json messages) {
    return {{"TaskState", state},
            {"TaskStatus", state == TASK_COMPLETED ? "OK" : "Critical"},
            {"EndTime", isoTimeNow()},
            {"Messages", std::move(messages)},
            {ODATA_ETAG, entityTag()}};
}

std::string stateOf(const ServiceAnswer& result) {
    return isAccepted(result) ? TASK_COMPLETED : TASK_EXCEPTION;
}

// Held while a task's state is read and written, so that threads which learn of its end at the same
// time write it once, and none takes it back.
std::mutex gTaskStateMutex;

bool hasEnded(redisContext* context, const std::string& taskUri) {
    const std::string state = runTextCommand(context, {"HGET", taskUri, "TaskState"});
    return isFinalTaskState(storedString(state));
}

void writeState(redisContext* context, const std::string& taskUri, const std::string& state) {
    json change = {{"TaskState", state}, {ODATA_ETAG, entityTag()}};
    if (isFinalTaskState(state)) {
        const std::optional<ServiceAnswer> result = readTaskResult(context, taskUri);
        change = endOf(state, result ? messagesOf(*result) : json::array());
    }
    (void)updateResource(context, taskUri, change, nullptr);
}

// Brings the task up to date when it ended while no front end was there.
void noteEnd(redisContext* context, const std::string& taskUri, TaskSummary& task) {
    if (isFinalTaskState(task.state)) {
        return;
    }
    const std::optional<ServiceAnswer> result = readTaskResult(context, taskUri);
    if (result) {
        task.state = stateOf(*result);
        writeState(context, taskUri, task.state);
    }
}

} // namespace

std::string createTask(redisContext* context, const std::string& name) {
    (void)seedTaskService(context);
    const std::string id = std::to_string(
        runIntegerCommand(context, {"HINCRBY", TASK_SERVICE_URI, TASK_COUNTER_FIELD, "1"}));
    std::string uri = std::string(TASKS_URI) + "/" + id;
    removeAnswer(context, taskResultKey(uri));
    (void)writeResource(context, uri,
                        {{ODATA_ID, uri},
                         {ODATA_TYPE, "#Task.v1_4_3.Task"},
                         {ODATA_ETAG, entityTag()},
                         {ID_PROPERTY, id},
                         {NAME_PROPERTY, name},
                         {"TaskState", NEW_TASK},
                         {"TaskStatus", "OK"},
                         {"StartTime", isoTimeNow()},
                         {"HidePayload", true},
                         {"Messages", json::array()}});
    (void)runCommand(context, {"RPUSH", memberListKey(TASKS_URI), referenceEntry(uri)});
    refreshMemberCount(context, TASKS_URI);
    return uri;
}

void setTaskState(redisContext* context, const std::string& taskUri, const std::string& state) {
    const std::lock_guard lock(gTaskStateMutex);
    if (!hasEnded(context, taskUri)) {
        writeState(context, taskUri, state);
    }
}

void endWithoutResult(redisContext* context, const std::string& taskUri,
                      const std::string& sentence) {
    const json messages = json::array({{{"MessageId", MSG_INTERNAL_ERROR},
                                        {"MessageArgs", json::array()},
                                        {"Message", sentence}}});
    const std::lock_guard lock(gTaskStateMutex);
    if (!hasEnded(context, taskUri)) {
        (void)updateResource(context, taskUri, endOf(TASK_EXCEPTION, messages), nullptr);
    }
}

std::vector<TaskSummary> listTasks(redisContext* context) {
    std::vector<TaskSummary> tasks;
    for (const std::string& entry :
         runListCommand(context, {"LRANGE", memberListKey(TASKS_URI), "0", "-1"})) {
        const Marker marker = parseListMarker(entry);
        if (marker.kind != MarkerKind::REFERENCE) {
            continue;
        }
        const std::optional<TaskSummary> task = findTask(context, std::string(marker.target));
        if (task) {
            tasks.push_back(*task);
        }
    }
    return tasks;
}

std::optional<TaskSummary> findTask(redisContext* context, const std::string& taskUri) {
    const std::lock_guard lock(gTaskStateMutex);
    json document = readDocument(context, taskUri);
    if (!document.is_object() || !document.contains("TaskState")) {
        return std::nullopt;
    }
    TaskSummary task;
    task.uri = taskUri;
    task.state = textOf(document, "TaskState");
    noteEnd(context, taskUri, task);
    document = readDocument(context, taskUri);
    task.name = textOf(document, NAME_PROPERTY);
    task.startTime = textOf(document, "StartTime");
    task.endTime = textOf(document, "EndTime");
    return task;
}

std::optional<ServiceAnswer> readTaskResult(redisContext* context, const std::string& taskUri) {
    std::optional<ServiceAnswer> result = readAnswer(context, taskResultKey(taskUri));
    for (int tries = 0; tries < MOST_TRIES && result && !result->isWhole; ++tries) {
        std::this_thread::sleep_for(TRY_PAUSE);
        result = readAnswer(context, taskResultKey(taskUri));
    }
    return result;
}

void removeTask(redisContext* context, const std::string& taskUri) {
    removeStoredTree(context, taskUri);
    removeAnswer(context, taskResultKey(taskUri));
    (void)runCommand(context, {"LREM", memberListKey(TASKS_URI), "0", referenceEntry(taskUri)});
    refreshMemberCount(context, TASKS_URI);
}

void removeOldTasks(redisContext* context, std::size_t most) {
    const long long count = runIntegerCommand(context, {"LLEN", memberListKey(TASKS_URI)});
    long long surplus = count - static_cast<long long>(most);
    if (surplus <= 0) {
        return;
    }
    for (const TaskSummary& task : listTasks(context)) {
        if (surplus > 0 && isFinalTaskState(task.state)) {
            removeTask(context, task.uri);
            --surplus;
        }
    }
}
