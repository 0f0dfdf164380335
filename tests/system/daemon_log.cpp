// Reading the log line by line.

#include "tests/system/daemon_log.h"

#include "tests/support/fake_backend.h"
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
