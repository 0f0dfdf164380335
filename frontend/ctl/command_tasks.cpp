// Lists the tasks, shows one of them with its signing request, or clears ended ones away.

#include "core/protocol/messages.h"
#include "core/protocol/redfish_names.h"
#include "frontend/ctl/command_line.h"
#include "frontend/ctl/output.h"
#include "frontend/ctl/send_request.h"
#include "frontend/ctl/table.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/records/task_resource.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

struct TasksOptions {
    std::string uri; // empty: all
    std::string outputFile;
    bool clear = false;
};

json documentOf(const TaskSummary& task) {
    return {{"task", task.uri},
            {"name", task.name},
            {"state", task.state},
            {"startTime", task.startTime},
            {"endTime", task.endTime.empty() ? json(nullptr) : json(task.endTime)}};
}

TableRow rowOf(const TaskSummary& task, bool isRemoved) {
    const std::string end = task.endTime.empty() ? std::string() : "to " + task.endTime;
    return {{task.state, task.uri, task.startTime, end, task.name, isRemoved ? "removed" : ""},
            task.state == TASK_EXCEPTION ? Colour::BAD : Colour::NONE};
}

void showAll(redisContext* context, const CommonOptions& common, bool clear) {
    json documents = json::array();
    std::vector<TableRow> rows;
    for (const TaskSummary& task : listTasks(context)) {
        const bool remove = clear && isFinalTaskState(task.state);
        if (remove) {
            removeTask(context, task.uri);
        }
        documents.push_back(documentOf(task));
        documents.back()["removed"] = remove;
        rows.push_back(rowOf(task, remove));
    }
    if (common.json) {
        printJson(documents);
    } else {
        printTable(rows);
    }
}

void showOne(redisContext* context, const CommonOptions& common, const TasksOptions& options) {
    const auto task = findTask(context, options.uri);
    if (!task) {
        throw FrontEndError(FailureKind::NOT_THERE, "There is no task at " + options.uri + ".");
    }
    const auto result = readTaskResult(context, options.uri);
    if (result) {
        checkAccepted(*result);
    }
    const std::string csr = result ? signingRequestOf(*result) : std::string();
    if (!options.outputFile.empty()) {
        if (csr.empty()) {
            throw FrontEndError(FailureKind::NOT_THERE, "The task has no signing request yet.");
        }
        writeTextFile(options.outputFile, csr);
    }
    if (common.json) {
        json document = documentOf(*task);
        document[CSR_STRING] = csr.empty() ? json(nullptr) : json(csr);
        printJson(document);
    } else if (options.outputFile != "-") {
        printTable({rowOf(*task, false)});
    }
}

void runTasks(const CommonOptions& common, const TasksOptions& options) {
    const RedisConnection session = openRedisSession();
    if (options.uri.empty()) {
        showAll(session.get(), common, options.clear);
    } else {
        showOne(session.get(), common, options);
    }
}

} // namespace

void addTasks(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<TasksOptions>();
    CLI::App* command = app.add_subcommand(
        "tasks", "List the tasks with their states, or show one with its signing request.");
    CLI::Option* uri = command->add_option("URI", options->uri, "one task")->type_name("");
    command
        ->add_option("-o,--output", options->outputFile,
                     "file for the task's signing request; - for standard output")
        ->type_name("FILE")
        ->needs(uri);
    command->add_flag("--clear", options->clear, "remove tasks that have ended")->excludes(uri);
    command->footer("Examples:\n"
                    "  certificatectl tasks --clear\n"
                    "  certificatectl tasks /redfish/v1/TaskService/Tasks/1 -o bmc.csr\n");
    chooseWhenNamed(*command, chosen, options, runTasks);
}
