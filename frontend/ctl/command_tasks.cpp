// Lists the tasks, shows one of them with its signing request, or clears ended ones away.

#include "core/protocol/messages.h"
#include "frontend/ctl/certificate_file.h"
#include "frontend/ctl/commands.h"
#include "frontend/ctl/output.h"
#include "frontend/exchange/front_end_error.h"
#include "frontend/exchange/redis_session.h"
#include "frontend/records/task_resource.h"

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

json documentOf(const TaskSummary& task) {
    return {{"task", task.uri},
            {"name", task.name},
            {"state", task.state},
            {"startTime", task.startTime},
            {"endTime", task.endTime.empty() ? json(nullptr) : json(task.endTime)}};
}

void printTask(const TaskSummary& task) {
    constexpr std::size_t STATE_WIDTH = 10;
    std::string line = task.state;
    line.append(line.size() < STATE_WIDTH ? STATE_WIDTH - line.size() : 1, ' ');
    line += task.uri + "  " + task.startTime;
    line += task.endTime.empty() ? "" : " to " + task.endTime;
    printLine(line + "  " + task.name, task.state == "Exception" ? Colour::BAD : Colour::NONE);
}

int showAll(redisContext* context, const CommonOptions& common, bool clear) {
    json documents = json::array();
    for (const TaskSummary& task : listTasks(context)) {
        const bool remove = clear && isFinalTaskState(task.state);
        if (remove) {
            removeTask(context, task.uri);
        }
        if (common.json) {
            documents.push_back(documentOf(task));
            documents.back()["removed"] = remove;
        } else {
            printTask(task);
        }
    }
    if (common.json) {
        printJson(documents);
    }
    return EXIT_OK;
}

int showOne(redisContext* context, const CommonOptions& common, const TasksOptions& options) {
    const auto task = findTask(context, options.uri);
    if (!task) {
        throw FrontEndError(EXIT_REFUSED, "There is no task at " + options.uri + ".");
    }
    const auto result = readTaskResult(context, options.uri);
    if (result && !isAccepted(*result)) {
        return reportRefusal(*result, common.json);
    }
    const json response = json::parse(result ? result->response : "", nullptr, false);
    const std::string csr = response.is_object() ? response.value("CSRString", "") : "";
    if (!options.outputFile.empty()) {
        if (csr.empty()) {
            throw FrontEndError(EXIT_REFUSED, "The task has no signing request yet.");
        }
        writeTextFile(options.outputFile, csr);
    }
    if (common.json) {
        json document = documentOf(*task);
        document["CSRString"] = csr.empty() ? json(nullptr) : json(csr);
        printJson(document);
    } else if (options.outputFile != "-") {
        printTask(*task);
    }
    return EXIT_OK;
}

} // namespace

int runTasks(const CommonOptions& common, const TasksOptions& options) {
    const RedisConnection session = openRedisSession();
    return options.uri.empty() ? showAll(session.get(), common, options.clear)
                               : showOne(session.get(), common, options);
}
