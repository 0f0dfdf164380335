#include "platform/posix/file_descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : mDescriptor(std::exchange(other.mDescriptor, -1)) {}

FileDescriptor::~FileDescriptor() {
    if (mDescriptor >= 0) {
        ::close(mDescriptor);
    }
}

FileDescriptor openForReading(const std::string& path) {
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
}

bool isRegularFile(const FileDescriptor& file) {
    struct stat status = {};
    return ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
}

ssize_t readUpTo(const FileDescriptor& file, void* buffer, std::size_t size) {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count =
            ::read(file.get(), static_cast<char*>(buffer) + filled, size - filled);
        if (count == 0) {
            break;
        }
        if (count > 0) {
            filled += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return static_cast<ssize_t>(filled);
}
