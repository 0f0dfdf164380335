#include "bench/board_bench.h"

#include "bench/request_cases.h"
#include "bench/table.h"
#include "bench/timed_front_end.h"
#include "tests/support/certificates.h"
#include "tests/support/child_process.h"
#include "tests/support/daemon_process.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr double SIZE_GOAL_KIB = 350;
// What version 0.1.0 took on the machine of docs/performance.md.
constexpr double START_GOAL_MILLISECONDS = 4.0;
constexpr double IDLE_GOAL_MIB = 4.9;
constexpr double BUSY_GOAL_MIB = 8.6;
constexpr double BYTES_PER_KIB = 1024;
constexpr int CHANNELS = 3;

// The number behind a label of a file of /proc/PID.
long processFigure(const std::string& path, const std::string& label) {
    std::ifstream file(path);
    std::string word;
    while (file >> word) {
        if (word == label) {
            long figure = 0;
            file >> figure;
            return figure;
        }
    }
    throw std::runtime_error("no " + label + " in " + path);
}

double residentMib(int process) {
    const long kib = processFigure("/proc/" + std::to_string(process) + "/status", "VmRSS:");
    return static_cast<double>(kib) / BYTES_PER_KIB;
}

// How often all threads together have been woken or moved off their processor.
long switches(int process) {
    long sum = 0;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        const std::string status = task.path().string() + "/status";
        sum += processFigure(status, "voluntary_ctxt_switches:") +
               processFigure(status, "nonvoluntary_ctxt_switches:");
    }
    return sum;
}

void printFigure(const std::string& what, double seen, double goal, const std::string& unit) {
    printRow(
        {what, goalText(goal, unit, 1), numberText(seen, 1) + unit, verdictText(seen, goal, 1)});
}

// Waits until the daemon has subscribed to all channels.
void waitForSubscriptions(RedisClient& monitor) {
    int subscriptions = 0;
    RedisAnswer line;
    while (subscriptions < CHANNELS && monitor.nextMessage(line, WAIT_LIMIT_SECONDS)) {
        subscriptions += line.text.find("\"SUBSCRIBE\"") != std::string::npos ? 1 : 0;
    }
    if (subscriptions < CHANNELS) {
        throw std::runtime_error("the daemon does not subscribe");
    }
}

double startOnce(const RedisServer& server) {
    RedisClient monitor(server);
    monitor.command("MONITOR");
    ChildProcessOptions options;
    options.arguments = {daemonProgram()};
    const double start = now();
    ChildProcess daemon(options);
    waitForSubscriptions(monitor);
    return now() - start;
}

// Creations and deletions in turn, each certificate deleted by the request behind it.
void runRequests(const RedisServer& server, int requests, const std::string& certificateText) {
    RedisClient client(server);
    TimedFrontEnd frontEnd(server.socketPath());
    const RequestCase creation = creationCase(certificateText);
    const Exchange creationRecords = requestRecords(client, creation.request);
    const Exchange content = frontEndRecords(client);
    for (int i = 0; i < requests; i += 2) {
        frontEnd.restore(content);
        frontEnd.add(creationRecords);
        FrontEndAnswer answer = sendStoredRequest(server, creation.request);
        const RequestCase deletion = deletionCase(answer.status["&&Location"]);
        answer = sendRequest(server, deletion.request);
        if (answer.status["&&ReturnStatus"] != deletion.status) {
            throw std::runtime_error("a certificate is not created and deleted");
        }
    }
}

} // namespace

void measureSize() {
    const TempDirectory directory;
    ChildProcessOptions options;
    options.arguments = {"strip", "-o", directory.file("stripped"), daemonProgram()};
    ChildProcess strip(options);
    if (strip.waitForExit(WAIT_LIMIT_SECONDS) != 0) {
        throw std::runtime_error("strip fails");
    }
    const auto size = static_cast<double>(fs::file_size(directory.file("stripped")));
    printFigure("stripped size of the executable", size / BYTES_PER_KIB, SIZE_GOAL_KIB, " KiB");
}

void measureStart(const RedisServer& server, int rounds) {
    tellProgress("starting the daemon");
    writeConnectionFiles(server);
    std::vector<double> times(static_cast<std::size_t>(rounds));
    for (double& time : times) {
        time = startOnce(server);
    }
    printFigure("from exec until all channels are subscribed", median(times) * 1e3,
                START_GOAL_MILLISECONDS, " ms");
}

void measureResidence(const RedisServer& server, double idleSeconds, int requests) {
    tellProgress("the idle daemon");
    writeConnectionFiles(server);
    DaemonProcess daemon({{{"LOG_FILE", "/var/log/CertificateService.log"}}, "", {}});
    daemon.waitUntilReady(server);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const long before = switches(daemon.pid());
    std::this_thread::sleep_for(std::chrono::duration<double>(idleSeconds));
    const long wakeUps = switches(daemon.pid()) - before;
    printRow({"wake-ups of the idle daemon in " + numberText(idleSeconds, 0) + " s", "0",
              std::to_string(wakeUps), wakeUps == 0 ? "met" : "missed"});
    printFigure("resident memory of the idle daemon", residentMib(daemon.pid()), IDLE_GOAL_MIB,
                " MiB");

    tellProgress(std::to_string(requests) + " requests");
    const TestCertificate certificate = makeSelfSigned();
    runRequests(server, requests, certificate.privateKey + certificate.certificate);
    printFigure("resident memory after " + std::to_string(requests) + " requests",
                residentMib(daemon.pid()), BUSY_GOAL_MIB, " MiB");
}
