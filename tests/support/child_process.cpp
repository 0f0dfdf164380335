// Child processes over posix_spawn.

#include "tests/support/child_process.h"

#include "tests/support/wait.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace {

// The file descriptors that the program starts with, owned for the time of the start.
class FileActions {
public:
    FileActions() {
        posix_spawn_file_actions_init(&mActions);
    }
    ~FileActions() {
        posix_spawn_file_actions_destroy(&mActions);
    }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void open(int descriptor, const std::string& path, int flags) {
        posix_spawn_file_actions_addopen(&mActions, descriptor, path.c_str(), flags, 0600);
    }

    [[nodiscard]] const posix_spawn_file_actions_t* get() const {
        return &mActions;
    }

private:
    posix_spawn_file_actions_t mActions{};
};

// Programs start as a service manager starts them: with SIGPIPE deadly, although the test itself
// ignores it and would hand that on.
class Attributes {
public:
    Attributes() {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        posix_spawnattr_init(&mAttributes);
        posix_spawnattr_setsigdefault(&mAttributes, &signals);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGDEF);
    }
    ~Attributes() {
        posix_spawnattr_destroy(&mAttributes);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    [[nodiscard]] const posix_spawnattr_t* get() const {
        return &mAttributes;
    }

private:
    posix_spawnattr_t mAttributes{};
};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& additions) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (additions.count(text.substr(0, text.find('='))) == 0) {
            result.push_back(text);
        }
    }
    for (const auto& [name, value] : additions) {
        std::string entry = name;
        entry += "=";
        entry += value;
        result.push_back(std::move(entry));
    }
    return result;
}

} // namespace

ChildProcess::ChildProcess(const ChildProcessOptions& options) {
    const Attributes attributes;
    FileActions actions;
    const int flags = O_WRONLY | O_CREAT | O_APPEND;
    actions.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    actions.open(STDOUT_FILENO, options.outputFile, flags);
    actions.open(STDERR_FILENO, options.errorFile, flags);
    auto arguments = options.arguments;
    auto environment = mergedEnvironment(options.environment);
    const auto argumentPointers = pointers(arguments);
    const auto environmentPointers = pointers(environment);
    const int error = posix_spawnp(&mPid, argumentPointers.front(), actions.get(), attributes.get(),
                                   argumentPointers.data(), environmentPointers.data());
    if (error != 0) {
        throw std::runtime_error("cannot start " + arguments.front() + ": " +
                                 std::strerror(error)); // NOLINT(concurrency-mt-unsafe)
    }
}

ChildProcess::~ChildProcess() {
    kill();
}

void ChildProcess::poll() {
    int status = 0;
    if (!mStatus && waitpid(mPid, &status, WNOHANG) == mPid) {
        mStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
}

bool ChildProcess::running() {
    poll();
    return !mStatus;
}

void ChildProcess::signal(int number) {
    if (running()) {
        ::kill(mPid, number);
    }
}

std::optional<int> ChildProcess::waitForExit(double seconds) {
    (void)waitUntil([this] { return !running(); }, seconds);
    return mStatus;
}

void ChildProcess::kill() {
    signal(SIGKILL);
    (void)waitForExit(WAIT_LIMIT_SECONDS);
}
