#include "bench/processors.h"

#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

// Those that the process had at first, before it was placed.
const std::vector<std::size_t>& allowedProcessors() {
    static const std::vector<std::size_t> PROCESSORS = [] {
        std::vector<std::size_t> processors;
        cpu_set_t set;
        (void)sched_getaffinity(0, sizeof set, &set);
        for (std::size_t processor = 0; processor < CPU_SETSIZE; ++processor) {
            if (CPU_ISSET(processor, &set)) {
                processors.push_back(processor);
            }
        }
        return processors;
    }();
    return PROCESSORS;
}

void placeThreads(pid_t process, std::size_t processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    const std::string tasks = "/proc/" + std::to_string(process) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
        if (sched_setaffinity(std::stoi(task.path().filename()), sizeof set, &set) != 0) {
            throw std::system_error(errno, std::generic_category(), "a thread cannot be placed");
        }
    }
}

} // namespace

bool hasTwoProcessors() {
    return allowedProcessors().size() > 1;
}

pid_t peerProcess(int descriptor) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "a server cannot be told");
    }
    return peer.pid;
}

void place(Placement placement, const std::vector<pid_t>& clients, pid_t server) {
    const std::vector<std::size_t>& processors = allowedProcessors();
    placeThreads(getpid(), processors.front());
    for (const pid_t client : clients) {
        placeThreads(client, processors.front());
    }
    placeThreads(server,
                 placement == Placement::ONE_PROCESSOR ? processors.front() : processors.at(1));
}
