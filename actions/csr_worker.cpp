#include "actions/csr_worker.h"

#include "actions/csr_request.h"
#include "actions/csr_response.h"
#include "actions/pending_csr.h"
#include "actions/task_state.h"
#include "core/at_scope_end.h"
#include "core/logger.h"
#include "core/protocol/keys.h"
#include "core/protocol/messages.h"
#include "core/redis_connection.h"
#include "requests/backend_result.h"
#include "requests/return_status.h"

#include <nlohmann/json.hpp>
#include <pthread.h>

#include <exception>

namespace {

constexpr int MAX_FAILED_TAKES = 3;

// The password is gone when the backend has returned, however it returned.
CSRResult callBackend(CSRRequest& request) {
    const AtScopeEnd wiper([&request] { wipeChallengePassword(request); });
    return generateCSRHandler(request);
}

void runTask(redisContext* context, PendingCSR& record) {
    publishTaskState(context, {record.taskUri, TASK_RUNNING});
    const CSRResult result = callBackend(record.request);
    if (isBackendSuccess(result.code)) {
        completeCSRTask(context, record.taskUri, result.csr, record.collectionUri);
        return;
    }
    gLogger->error("generateCSR: asynchronously generate key failed.");
    failCSRTask(context, record.taskUri, result.code, result.message);
}

void runTasks(redisContext* context) {
    int failedTakes = 0;
    while (failedTakes < MAX_FAILED_TAKES) {
        PendingCSR* record = takePendingCSR();
        if (record == nullptr) {
            gLogger->error("Failed to get pending request from queue.");
            ++failedTakes;
            continue;
        }
        // Not deleted when an exception ends the worker: the task stays as it was announced last.
        runTask(context, *record);
        delete record;
        failedTakes = 0;
    }
}

void work() {
    gLogger->debug("begin process async CSR thread.");
    const RedisConnection connection(redisConnectContext());
    if (!connection) {
        gLogger->error("Failed to connect to Redis.");
        return;
    }
    try {
        runTasks(connection.get());
    } catch (const std::exception& failure) {
        gLogger->error("Error occurr during processing pending CSR request, error message: %s",
                       failure.what());
    }
}

} // namespace

void* asyncCSRWorker(void* /*collectionLock*/) {
    work();
    pthread_exit(nullptr);
}

void completeCSRTask(redisContext* context, const std::string& taskUri, const std::string& csr,
                     const std::string& collectionUri) {
    writeCSRResponse(context, taskResultKey(taskUri), csr, collectionUri);
    publishTaskState(context, {taskUri, TASK_COMPLETED});
}

void failCSRTask(redisContext* context, const std::string& taskUri, std::int32_t code,
                 const MessageInfo& message) {
    Answer answer = backendFailure(code, message);
    answer.expires = false;
    (void)writeAnswer({context, taskResultKey(taskUri), ""}, answer);
    publishTaskState(context, {taskUri, TASK_EXCEPTION});
}
