#include "tools/backend_check/child.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int CHILD_DONE = 0;
constexpr int CHILD_GAVE_UP = 113; // told already

// Of what the library prints only the beginning is looked at.
constexpr std::size_t LONGEST_OUTPUT = std::size_t{1024} * 1024;

struct Child {
    pid_t pid = -1;
    int told = -1;   // reading end of the pipe
    int output = -1; // what it prints
};

[[noreturn]] void runChild(const std::function<void(const Teller&)>& work, int tellDescriptor,
                           int output) {
    static_cast<void>(dup2(output, STDOUT_FILENO));
    static_cast<void>(dup2(output, STDERR_FILENO));
    const Teller teller(tellDescriptor);
    int status = CHILD_DONE;
    try {
        work(teller);
    } catch (const std::exception& failure) {
        teller.find(Severity::FAULT, failure.what());
        status = CHILD_GAVE_UP;
    }
    static_cast<void>(std::fflush(nullptr));
    _exit(status);
}

Child startChild(const std::function<void(const Teller&)>& work) {
    std::array<int, 2> ends{};
    Child child;
    child.output = memfd_create("output", MFD_CLOEXEC);
    if (child.output < 0 || pipe(ends.data()) != 0) {
        throw std::runtime_error(std::string("no pipe can be made: ") + std::strerror(errno));
    }
    static_cast<void>(std::fflush(nullptr));
    child.pid = fork();
    if (child.pid < 0) {
        throw std::runtime_error(std::string("no process can be started: ") + std::strerror(errno));
    }
    if (child.pid == 0) {
        static_cast<void>(close(ends[0]));
        runChild(work, ends[1], child.output);
    }
    static_cast<void>(close(ends[1]));
    child.told = ends[0];
    return child;
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left < 0 ? 0 : static_cast<int>(left) + 1;
}

void takeLines(std::string& text, Outcome& outcome) {
    std::size_t end = text.find('\n');
    while (end != std::string::npos) {
        readTold(text.substr(0, end), outcome);
        text.erase(0, end + 1);
        end = text.find('\n');
    }
}

// False when the time was over before the child had closed its end.
bool listen(int told, Clock::time_point deadline, Outcome& outcome) {
    std::string text;
    std::array<char, 4096> piece{};
    while (true) {
        pollfd waiting = {told, POLLIN, 0};
        const int left = millisecondsUntil(deadline);
        if (left == 0 || (poll(&waiting, 1, left) < 0 && errno != EINTR)) {
            return false;
        }
        if (waiting.revents == 0) {
            continue;
        }
        const ssize_t count = read(told, piece.data(), piece.size());
        if (count <= 0) {
            return true;
        }
        text.append(piece.data(), static_cast<std::size_t>(count));
        takeLines(text, outcome);
    }
}

std::string readOutput(int output) {
    std::string text(LONGEST_OUTPUT, '\0');
    const ssize_t count = pread(output, text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

std::string endOf(int status) {
    if (WIFSIGNALED(status)) {
        return std::string("the process was ended by signal ") + std::to_string(WTERMSIG(status)) +
               " (" + strsignal(WTERMSIG(status)) + ")";
    }
    const int code = WEXITSTATUS(status);
    return code == CHILD_DONE || code == CHILD_GAVE_UP
               ? std::string()
               : "the process ended itself, with status " + std::to_string(code);
}

} // namespace

Outcome runInChild(const std::function<void(const Teller&)>& work, double seconds) {
    const Clock::time_point deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                          std::chrono::duration<double>(seconds));
    const Child child = startChild(work);
    Outcome outcome;
    const bool inTime = listen(child.told, deadline, outcome);
    if (!inTime) {
        static_cast<void>(kill(child.pid, SIGKILL));
    }
    int status = 0;
    while (waitpid(child.pid, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.end = inTime ? endOf(status) : "no answer came in time";
    outcome.output = readOutput(child.output);
    static_cast<void>(close(child.told));
    static_cast<void>(close(child.output));
    return outcome;
}
