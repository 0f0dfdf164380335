#include "platform/posix/directory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace {

constexpr mode_t DIRECTORY_MODE = 0700;
constexpr int OPENING = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
}

// Owns nothing when the directory is missing.
FileDescriptor openAt(int parent, const std::string& name, const std::string& path) {
    FileDescriptor opened(openat(parent, name.c_str(), OPENING));
    if (opened.get() < 0 && errno != ENOENT) {
        throwSystemError("cannot open the directory", path);
    }
    return opened;
}

void makeAt(int parent, const std::string& name, const std::string& path) {
    if (mkdirat(parent, name.c_str(), DIRECTORY_MODE) != 0 && errno != EEXIST) {
        throwSystemError("cannot make the directory", path);
    }
}

Directory afterMaking(FileDescriptor opened, const std::string& path) {
    if (opened.get() < 0) {
        throwSystemError("cannot open the directory", path);
    }
    return {std::move(opened), path};
}

// For its flush alone: a link above the directory is not this library's business.
Directory directoryAbove(const std::string& path) {
    const std::string parent = parentOf(path);
    return afterMaking(FileDescriptor(open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
                       parent);
}

} // namespace

Directory openOrMakeDirectory(const std::string& path) {
    FileDescriptor opened = openAt(AT_FDCWD, path, path);
    if (opened.get() >= 0) {
        return {std::move(opened), path};
    }
    makeAt(AT_FDCWD, path, path);
    flushDirectory(directoryAbove(path));
    return afterMaking(openAt(AT_FDCWD, path, path), path);
}

Directory openOrMakeFolder(const Directory& parent, const std::string& name) {
    const std::string path = parent.path + "/" + name;
    FileDescriptor opened = openAt(parent.descriptor.get(), name, path);
    if (opened.get() >= 0) {
        return {std::move(opened), path};
    }
    makeAt(parent.descriptor.get(), name, path);
    flushDirectory(parent);
    return afterMaking(openAt(parent.descriptor.get(), name, path), path);
}

void flushDirectory(const Directory& directory) {
    if (fsync(directory.descriptor.get()) != 0) {
        throwSystemError("cannot flush the directory", directory.path);
    }
}

void lockDirectory(const Directory& directory) {
    while (flock(directory.descriptor.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            throwSystemError("cannot lock the directory", directory.path);
        }
    }
}

void throwSystemError(const std::string& step, const std::string& path) {
    throw std::system_error(errno, std::generic_category(), step + " " + path);
}
