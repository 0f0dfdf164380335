// Starting the daemon and looking at what it leaves.

#include "tests/support/daemon_process.h"

#include "tests/support/child_process.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/request.h"
#include "tests/support/wait.h"

#include <regex>
#include <stdexcept>

namespace {

const std::string CONFIGURATION_PATH = "/usr/local/etc/nginx/CertificateService.conf";

void writeConfiguration(const std::map<std::string, std::string>& values) {
    std::string text;
    for (const auto& [key, value] : values) {
        text += key;
        text += "=";
        text += value;
        text += "\n";
    }
    writeFile(CONFIGURATION_PATH, text);
}

bool hasListeners(RedisClient& client) {
    const auto counts =
        client
            .command("PUBSUB", "NUMSUB", channelName(RequestKind::CREATE),
                     channelName(RequestKind::REMOVE), channelName(RequestKind::ACTION))
            .texts();
    return counts.size() == 6 && counts[1] != "0" && counts[3] != "0" && counts[5] != "0";
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Whether every thread has logged its first line, for a log that has such lines: the worker does so
// some time after the listeners. A line of its own must not come between those of a request.
bool threadsHaveBegun(const std::string& log) {
    return !contains(log, "begin certificate action thread.") ||
           contains(log, "begin process async CSR thread.");
}

} // namespace

std::string daemonProgram() {
    return DAEMON_PROGRAM;
}

std::string daemonFile() {
    return DAEMON_FILE;
}

DaemonProcess::DaemonProcess(const DaemonOptions& options) : mOptions(options) {
    writeConfiguration(options.configuration);
    ChildProcessOptions child;
    child.arguments = {daemonProgram()};
    child.environment = options.environment;
    if (!options.libraryPath.empty()) {
        child.environment["LD_LIBRARY_PATH"] = options.libraryPath;
    }
    child.outputFile = mDirectory.file("stdout");
    child.errorFile = mDirectory.file("stderr");
    mProcess = std::make_unique<ChildProcess>(child);
}

DaemonProcess::~DaemonProcess() = default;

void DaemonProcess::waitUntilReady(const RedisServer& server) {
    RedisClient client(server);
    const bool ready =
        waitUntil([&] {
            return !mProcess->running() ||
                   (hasListeners(client) && threadsHaveBegun(log() + standardError()));
        }) &&
        running();
    if (!ready) {
        throw std::runtime_error("the daemon does not listen\n" + standardError() + log());
    }
}

bool DaemonProcess::running() {
    return mProcess->running();
}

std::optional<int> DaemonProcess::waitForExit(double seconds) {
    return mProcess->waitForExit(seconds);
}

void DaemonProcess::kill() {
    mProcess->kill();
}

std::string DaemonProcess::standardOutput() const {
    return readFileIfAny(mDirectory.file("stdout"));
}

std::string DaemonProcess::standardError() const {
    return readFileIfAny(mDirectory.file("stderr"));
}

std::string DaemonProcess::log() const {
    const auto file = mOptions.configuration.find("LOG_FILE");
    return file == mOptions.configuration.end() ? std::string() : readFileIfAny(file->second);
}

int DaemonProcess::pid() const {
    return mProcess->pid();
}

std::string withoutTimes(const std::string& log) {
    static const std::regex times(
        "[A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8} [0-9]+ (\\[(Error|Debug)\\]:)");
    return std::regex_replace(log, times, "$1");
}
