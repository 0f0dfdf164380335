#include "platform/posix/file_descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
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

std::optional<std::string> readContent(const FileDescriptor& file, std::size_t longest) {
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0) {
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
    std::string content(std::min(size, longest) + 1, '\0');
    const ssize_t length = readUpTo(file, content.data(), content.size());
    if (length < 0) {
        return std::nullopt;
    }
    content.resize(static_cast<std::size_t>(length));
    return content;
}
