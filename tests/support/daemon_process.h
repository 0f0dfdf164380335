#pragma once

// The real daemon, as a process of a test's own.

#include "tests/support/temp_files.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

class ChildProcess;
class RedisServer;

struct DaemonOptions {
    // Lines of "/usr/local/etc/nginx/CertificateService.conf". Without a "LOG_FILE" the log goes to
    // standard error.
    std::map<std::string, std::string> configuration;
    // Where the daemon finds its libraries first; empty: the reference libraries of the build.
    std::string libraryPath;
    std::map<std::string, std::string> environment;
};

// Started at construction, killed at destruction. Connection files (writeConnectionFiles) must
// stand there before.
class DaemonProcess {
public:
    explicit DaemonProcess(const DaemonOptions& options = {});
    ~DaemonProcess();
    DaemonProcess(const DaemonProcess&) = delete;
    DaemonProcess& operator=(const DaemonProcess&) = delete;

    // Waits until all three request channels have a subscriber and the worker has begun. Throws
    // std::runtime_error, with what the daemon printed, when it ends instead.
    void waitUntilReady(const RedisServer& server);

    [[nodiscard]] bool running();

    // The exit status, or 128 plus the signal's number; nothing when it still runs then.
    [[nodiscard]] std::optional<int> waitForExit(double seconds = 60.0);

    void kill();

    [[nodiscard]] std::string standardOutput() const;
    [[nodiscard]] std::string standardError() const;

    // The text of the file that "LOG_FILE" names; empty when there is none.
    [[nodiscard]] std::string log() const;

    [[nodiscard]] int pid() const;

private:
    DaemonOptions mOptions;
    TempDirectory mDirectory;
    std::unique_ptr<ChildProcess> mProcess;
};

// What starts the daemon, and the file of its code; one and the same unless an emulator comes
// between.
[[nodiscard]] std::string daemonProgram();
[[nodiscard]] std::string daemonFile();

// A log file's text without the "%b %e %T" date and the seconds in front of every label, so that
// lines compare literally: "[Error]: ...".
[[nodiscard]] std::string withoutTimes(const std::string& log);
