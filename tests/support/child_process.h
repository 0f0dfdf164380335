#pragma once

// A program that a test starts and owns.

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

struct ChildProcessOptions {
    std::vector<std::string> arguments;             // the first one is the program, found in PATH
    std::map<std::string, std::string> environment; // set in addition to the test's own
    std::string outputFile = "/dev/null";           // takes standard output
    std::string errorFile = "/dev/null";            // takes standard error; may be the same file
};

// Starts the program at construction, with SIGPIPE deadly whatever the test does, and kills it,
// when it still runs, at destruction.
class ChildProcess {
public:
    // Throws std::runtime_error when the program cannot be started.
    explicit ChildProcess(const ChildProcessOptions& options);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] pid_t pid() const {
        return mPid;
    }

    [[nodiscard]] bool running();

    // Sends the signal; does nothing when the program has ended.
    void signal(int number);

    // Waits for the end: the exit status, or 128 plus the number of the signal that ended it.
    // Nothing when it still runs after that time.
    std::optional<int> waitForExit(double seconds);

    // SIGKILL, and waits until the program is gone.
    void kill();

private:
    void poll();

    pid_t mPid = -1;
    std::optional<int> mStatus;
};
