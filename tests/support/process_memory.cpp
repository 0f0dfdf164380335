#include "tests/support/process_memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

class MemoryFile {
public:
    explicit MemoryFile(const std::string& process)
        : mDescriptor(::open(("/proc/" + process + "/mem").c_str(), O_RDONLY | O_CLOEXEC)) {
        if (mDescriptor < 0) {
            throw std::runtime_error("the memory of process " + process + " cannot be opened");
        }
    }
    ~MemoryFile() {
        (void)::close(mDescriptor);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Shorter when not all can be read.
    [[nodiscard]] std::string read(std::uintptr_t address, std::size_t size) const {
        std::string bytes(size, '\0');
        const auto count = ::pread(mDescriptor, bytes.data(), size, static_cast<off_t>(address));
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }

private:
    int mDescriptor;
};

std::size_t countIn(const std::string& bytes, const std::string& text) {
    std::size_t count = 0;
    for (auto at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
        ++count;
    }
    return count;
}

// Of a line "begin-end rwxp ..." of a process's map.
struct Mapping {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool writable = false;
};

Mapping parseMapping(const std::string& line) {
    Mapping mapping;
    std::istringstream words(line);
    char dash = ' ';
    std::string rights;
    words >> std::hex >> mapping.begin >> dash >> mapping.end >> rights;
    mapping.writable = rights.starts_with("rw");
    return mapping;
}

} // namespace

std::string memoryAt(const void* address, std::size_t size) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): an address as a place in a file
    std::string bytes = MemoryFile("self").read(reinterpret_cast<std::uintptr_t>(address), size);
    if (bytes.size() != size) {
        throw std::runtime_error("memory cannot be read");
    }
    return bytes;
}

std::size_t countInMemory(pid_t process, const std::vector<std::string>& texts) {
    const MemoryFile memory(std::to_string(process));
    std::ifstream map("/proc/" + std::to_string(process) + "/maps");
    std::size_t count = 0;
    std::size_t readBytes = 0;
    for (std::string line; std::getline(map, line);) {
        const Mapping mapping = parseMapping(line);
        if (!mapping.writable) {
            continue;
        }
        const std::string bytes = memory.read(mapping.begin, mapping.end - mapping.begin);
        readBytes += bytes.size();
        for (const auto& text : texts) {
            count += countIn(bytes, text);
        }
    }
    if (readBytes == 0) {
        throw std::runtime_error("no memory of the process can be read");
    }
    return count;
}
