// Reading the log line by line, and asking the system and the server.

#include "tests/system/daemon_log.h"

#include "tests/support/fake_backend.h"
#include "tests/support/redis_client.h"
#include "tests/support/request.h"
#include "tests/support/temp_files.h"

#include <algorithm>

namespace {

const std::vector<std::string> FIRST_LINES = {
    "[Debug]: begin create certificate thread.",
    "[Debug]: begin delete certificate thread.",
    "[Debug]: begin process async CSR thread.",
    "[Debug]: begin certificate action thread.",
};

bool isFirstLineOfAThread(const std::string& line) {
    return std::find(FIRST_LINES.begin(), FIRST_LINES.end(), line) != FIRST_LINES.end();
}

} // namespace

DaemonOptions loggingToFile() {
    DaemonOptions options;
    options.configuration["LOG_FILE"] = "/var/log/CertificateService.log";
    options.libraryPath = fakeBackendDirectory();
    return options;
}

std::vector<std::string> logLines(const DaemonProcess& daemon) {
    return splitLines(withoutTimes(daemon.log()));
}

std::vector<std::string> mainLogLines(const DaemonProcess& daemon) {
    auto lines = logLines(daemon);
    lines.erase(std::remove_if(lines.begin(), lines.end(), isFirstLineOfAThread), lines.end());
    return lines;
}

std::size_t countLogLines(const DaemonProcess& daemon, const std::string& line) {
    const auto lines = logLines(daemon);
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
}

std::size_t threadCount(const DaemonProcess& daemon) {
    return listDirectory("/proc/" + std::to_string(daemon.pid()) + "/task").size();
}

std::string listening(RedisClient& client) {
    const auto counts =
        client
            .command("PUBSUB", "NUMSUB", channelName(RequestKind::CREATE),
                     channelName(RequestKind::REMOVE), channelName(RequestKind::ACTION))
            .texts();
    return counts.at(1) + " " + counts.at(3) + " " + counts.at(5);
}

std::size_t clientCount(RedisClient& client) {
    return splitLines(client.command("CLIENT", "LIST").text).size();
}

std::size_t tcpClientCount(RedisClient& client) {
    const auto lines = splitLines(client.command("CLIENT", "LIST").text);
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("addr=127.0.0.1:") != std::string::npos;
        }));
}
