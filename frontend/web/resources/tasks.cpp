#include "frontend/web/resources/tasks.h"

#include "core/protocol/message_ids.h"
#include "core/protocol/messages.h"
#include "core/protocol/redfish_names.h"
#include "frontend/exchange/stored_tree.h"
#include "frontend/records/seed_records.h"
#include "frontend/records/task_resource.h"
#include "frontend/web/service/daemon_request.h"
#include "frontend/web/service/web_service.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

constexpr char MONITORS_URI[] = "/redfish/v1/TaskService/TaskMonitors";

std::string monitorOf(const std::string& taskUri) {
    return MONITORS_URI + taskUri.substr(taskUri.rfind('/'));
}

std::string monitorNamed(const std::string& id) {
    return std::string(MONITORS_URI) + "/" + id;
}

std::string taskNamed(const std::string& id) {
    return std::string(TASKS_URI) + "/" + id;
}

// The stored resource; task service and collection are made when they are missing.
json readTaskService(redisContext* session, const char* uri) {
    (void)seedTaskService(session);
    return clientView(readDocument(session, uri));
}

json taskDocument(redisContext* session, const std::string& taskUri) {
    json document = clientView(readDocument(session, taskUri));
    if (!document.contains("TaskState")) {
        throw notFound(taskUri);
    }
    document["TaskMonitor"] = monitorOf(taskUri);
    const std::string state = document["TaskState"].get<std::string>();
    if (state != TASK_EXCEPTION) {
        document["PercentComplete"] = state == TASK_COMPLETED ? 100 : 0;
    }
    return document;
}

// The task, brought up to date; one that has not ended is looked after.
TaskSummary findCurrentTask(WebService& service, redisContext* session, const Call& call) {
    const std::string uri = taskNamed(call.names.front());
    const std::optional<TaskSummary> task = findTask(session, uri);
    if (!task) {
        throw notFound(call.uri);
    }
    if (!isFinalTaskState(task->state)) {
        service.tasks.follow(uri);
    }
    return *task;
}

Answer getTaskService(WebService& service, const Call& /*call*/) {
    const BorrowedSession session(service.redis);
    json document = readTaskService(session.get(), TASK_SERVICE_URI);
    document["CompletedTaskOverWritePolicy"] = "Oldest";
    return {.document = std::move(document)};
}

Answer getTasks(WebService& service, const Call& /*call*/) {
    const BorrowedSession session(service.redis);
    json document = readTaskService(session.get(), TASKS_URI);
    document[MEMBERS_ODATA_COUNT] = document["Members"].size(); // a task may have come meanwhile
    return {.document = std::move(document)};
}

Answer getTask(WebService& service, const Call& call) {
    const BorrowedSession session(service.redis);
    const TaskSummary task = findCurrentTask(service, session.get(), call);
    return {.document = taskDocument(session.get(), task.uri)};
}

// What the request would have been answered with, had it been answered at once.
Answer outcomeOf(redisContext* session, const TaskSummary& task) {
    const std::optional<ServiceAnswer> result = readTaskResult(session, task.uri);
    if (!result) {
        throw Refusal(500, RedfishMessage{MSG_INTERNAL_ERROR,
                                          {},
                                          {},
                                          "The task has ended without a result: the daemon that "
                                          "carried it out is gone, or gave no sign for too long."});
    }
    checkAccepted(*result);
    return signingRequestAnswer(*result);
}

Answer getMonitor(WebService& service, const Call& call) {
    const BorrowedSession session(service.redis);
    const TaskSummary task = findCurrentTask(service, session.get(), call);
    return isFinalTaskState(task.state) ? outcomeOf(session.get(), task)
                                        : runningTaskAnswer(session.get(), task.uri);
}

// The task goes with its monitor. The daemon has no means to end one that runs.
Answer deleteTask(WebService& service, const Call& call) {
    const BorrowedSession session(service.redis);
    const TaskSummary task = findCurrentTask(service, session.get(), call);
    if (!isFinalTaskState(task.state)) {
        throw Refusal(409, RedfishMessage{"Base.1.9.ResourceInUse",
                                          {},
                                          {},
                                          "The task is under way and cannot be ended; it can be "
                                          "removed when it is done."});
    }
    removeTask(session.get(), task.uri);
    return {.status = 204, .document = nullptr};
}

} // namespace

Routes taskRoutes() {
    return {
        {TASK_SERVICE_URI, "GET", getTaskService}, {TASKS_URI, "GET", getTasks},
        {taskNamed("{}"), "GET", getTask},         {taskNamed("{}"), "DELETE", deleteTask},
        {monitorNamed("{}"), "GET", getMonitor},   {monitorNamed("{}"), "DELETE", deleteTask},
    };
}

Answer runningTaskAnswer(redisContext* session, const std::string& taskUri) {
    return {.status = 202,
            .document = taskDocument(session, taskUri),
            .headers = {{"Location", monitorOf(taskUri)}}};
}

Answer signingRequestAnswer(const ServiceAnswer& answer) {
    json document = json::parse(answer.response, nullptr, false);
    if (!document.is_object() || !document.contains(CSR_STRING)) {
        throw Refusal(500, RedfishMessage{MSG_INTERNAL_ERROR,
                                          {},
                                          {},
                                          "The daemon has answered without a signing request."});
    }
    return {.document = clientView(document)};
}
