// A forked copy that sends its result through a pipe.

#include "tests/core/fresh_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace {

std::string resultOf(const std::function<std::string()>& body) {
    try {
        return body();
    } catch (const std::exception& failure) {
        return std::string("exception: ") + failure.what();
    }
}

void writeAll(int descriptor, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const auto count = ::write(descriptor, text.data() + written, text.size() - written);
        if (count <= 0) {
            std::abort();
        }
        written += static_cast<std::size_t>(count);
    }
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> chunk{};
    for (;;) {
        const auto count = ::read(descriptor, chunk.data(), chunk.size());
        if (count <= 0) {
            return text;
        }
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

// Ends the copy the usual way: its leaks are looked for and its line counts are written.
[[noreturn]] void runCopy(const std::function<std::string()>& body, int descriptor) {
    writeAll(descriptor, resultOf(body));
    (void)::close(descriptor);
    std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe)
}

} // namespace

std::string inFreshProcess(const std::function<std::string()>& body) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe to a fresh process");
    }
    (void)std::fflush(nullptr);
    const pid_t copy = ::fork();
    if (copy < 0) {
        throw std::runtime_error("no fresh process");
    }
    if (copy == 0) {
        (void)::close(ends[0]);
        runCopy(body, ends[1]);
    }
    (void)::close(ends[1]);
    std::string result = readAll(ends[0]);
    (void)::close(ends[0]);
    int status = 0;
    if (::waitpid(copy, &status, 0) != copy || status != 0) {
        throw std::runtime_error("the fresh process died; it had answered: " + result);
    }
    return result;
}
