// The entry point of the daemon: opens the log, prepares the service's records in Redis, starts the
// four threads and waits for them. Start-up runs once, on the main thread, before any other thread
// exists, and fills everything that the threads only read.

#include "actions/csr_worker.h"
#include "core/daemon/listeners.h"
#include "core/daemon/startup_records.h"
#include "core/logger.h"
#include "core/protocol/files.h"
#include "core/redis_connection.h"
#include "core/secret.h"
#include "core/settings.h"

#include <pthread.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

constexpr int STARTUP_FAILED = -1;

struct ThreadStep {
    void* (*body)(void*);
    const char* createFailure;
    const char* joinFailure;          // of a thread that has run
    const char* unstartedJoinFailure; // of a thread that was never started
};

// Started and joined in this order.
constexpr std::array<ThreadStep, 4> THREAD_STEPS = {{
    {createListenerThread, "Create thread for subscribe failed.", "Failed to join a create thread.",
     "Failed to join a create thread."},
    {deleteListenerThread, "Delete thread for subscribe failed.", "Failed to join a delete thread.",
     "Failed to join a delete thread."},
    // Log readers know the worker's failed start by the action thread's text.
    {asyncCSRWorker, "Failed to create thread for processing async CSR action request.",
     "Failed to join a thread for processing async CSR request.",
     "Failed to join the action thread."},
    {actionListenerThread, "Failed to create thread for subscribing action request.",
     "Failed to join the action thread.", "Failed to join the action thread."},
}};

using ThreadHandles = std::array<pthread_t, THREAD_STEPS.size()>;

void announceStart() {
    if (gLogger->isFileMode()) {
        gLogger->debug("Certificate Service log is starting ...");
    }
}

bool prepareRedis() {
    const RedisConnection connection(redisConnectContext());
    if (!connection) {
        gLogger->error("Failed to connect to Redis.");
        return false;
    }
    return writeStartupRecords(connection.get());
}

bool makeLock(pthread_mutex_t* collectionLock) {
    if (pthread_mutex_init(collectionLock, nullptr) != 0) {
        gLogger->error(">>> init thread argument failed.");
        return false;
    }
    return true;
}

void reportUnstarted(const ThreadStep& step, pthread_t unstarted) {
    gLogger->error("%s", step.createFailure);
    if (pthread_join(unstarted, nullptr) != 0) {
        gLogger->error("%s", step.unstartedJoinFailure);
    }
}

bool startThreads(ThreadHandles& handles, pthread_mutex_t* collectionLock) {
    for (std::size_t i = 0; i < THREAD_STEPS.size(); ++i) {
        pthread_t started{};
        if (pthread_create(&started, nullptr, THREAD_STEPS[i].body, collectionLock) != 0) {
            reportUnstarted(THREAD_STEPS[i], handles[i]);
            return false;
        }
        handles[i] = started;
    }
    return true;
}

bool joinThreads(const ThreadHandles& handles) {
    for (std::size_t i = 0; i < THREAD_STEPS.size(); ++i) {
        if (pthread_join(handles[i], nullptr) != 0) {
            gLogger->error("%s", THREAD_STEPS[i].joinFailure);
            return false;
        }
    }
    return true;
}

// Ends the process while threads that did start go on until then: nothing that they use is
// destroyed under them.
[[noreturn]] void endWithRunningThreads() {
    (void)std::fflush(stdout);
    std::_Exit(STARTUP_FAILED);
}

int runThreads(pthread_mutex_t* collectionLock) {
    ThreadHandles handles;
    // Until a thread has started its handle names the main thread, so that joining it reports an
    // error instead of following a handle that was never set.
    handles.fill(pthread_self());
    if (!startThreads(handles, collectionLock) || !joinThreads(handles)) {
        endWithRunningThreads();
    }
    gLogger->debug(">>> exiting certificate_service.");
    return 0;
}

int runService(pthread_mutex_t* collectionLock) {
    announceStart();
    gRootCaFile = readSetting("ROOT_CA_FILE");
    if (!prepareRedis() || !makeLock(collectionLock)) {
        return STARTUP_FAILED;
    }
    return runThreads(collectionLock);
}

int reportException(const std::exception& failure) {
    gLogger->error("Error %s occurs while initialize data.", failure.what());
    return STARTUP_FAILED;
}

} // namespace

int main() {
    gLogger = new Logger; // lives as long as the process
    gLogger->init(CONFIG_FILE);
    forbidCoreFiles();
    // hiredis writes to sockets that the server may have closed: a lost connection must show as a
    // failed command and not end the process.
    (void)std::signal(SIGPIPE, SIG_IGN);
    pthread_mutex_t collectionLock; // the threads use it until the process ends
    try {
        return runService(&collectionLock);
    } catch (const std::logic_error& failure) {
        return reportException(failure);
    } catch (const std::runtime_error& failure) {
        return reportException(failure);
    }
}
