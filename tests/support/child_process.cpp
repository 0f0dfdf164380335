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

// How the program starts, owned for the time of the start: with files of the test's choice, and as
// a service manager starts it: with SIGPIPE deadly, although the test ignores it and would hand
// that on.
class SpawnSettings {
public:
    SpawnSettings() {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        posix_spawn_file_actions_init(&mFiles);
        posix_spawnattr_init(&mAttributes);
        posix_spawnattr_setsigdefault(&mAttributes, &signals);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        posix_spawnattr_destroy(&mAttributes);
        posix_spawn_file_actions_destroy(&mFiles);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    void open(int descriptor, const std::string& path, int flags) {
        posix_spawn_file_actions_addopen(&mFiles, descriptor, path.c_str(), flags, 0600);
    }

    [[nodiscard]] const posix_spawn_file_actions_t* files() const {
        return &mFiles;
    }
    [[nodiscard]] const posix_spawnattr_t* attributes() const {
        return &mAttributes;
    }

private:
    posix_spawn_file_actions_t mFiles{};
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
    SpawnSettings settings;
    const int flags = O_WRONLY | O_CREAT | O_APPEND;
    settings.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    settings.open(STDOUT_FILENO, options.outputFile, flags);
    settings.open(STDERR_FILENO, options.errorFile, flags);
    auto arguments = options.arguments;
    auto environment = mergedEnvironment(options.environment);
    const auto argumentPointers = pointers(arguments);
    const auto environmentPointers = pointers(environment);
    const int error =
        posix_spawnp(&mPid, argumentPointers.front(), settings.files(), settings.attributes(),
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
