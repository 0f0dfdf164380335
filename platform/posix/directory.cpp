#include "platform/posix/directory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace {

constexpr mode_t DIRECTORY_MODE = 0700;
constexpr mode_t FOREIGN_WRITES = 0022;
constexpr mode_t FOREIGN_ACCESS = 0077;
constexpr std::chrono::milliseconds LOCK_PAUSE(1);
constexpr int OPENING = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
}

// Leaves errno as it is.
bool isLink(int parent, const std::string& name) {
    const int error = errno;
    struct stat status = {};
    const bool link =
        fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
    errno = error;
    return link;
}

// Owns nothing when the directory is missing.
FileDescriptor openAt(int parent, const std::string& name, const std::string& path) {
    FileDescriptor opened(openat(parent, name.c_str(), OPENING));
    if (opened.get() < 0 && errno != ENOENT) {
        throwSystemError(isLink(parent, name) ? "cannot use a link in place of the directory"
                                              : "cannot open the directory",
                         path);
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

Fault ownershipFault(const struct stat& status, uid_t user) {
    if (status.st_uid != user) {
        return "belongs to another user";
    }
    return (status.st_mode & FOREIGN_WRITES) != 0 ? Fault("may be written to by others")
                                                  : std::nullopt;
}

void keepToOwner(const Directory& directory) {
    struct stat status = {};
    if (fstat(directory.descriptor.get(), &status) != 0) {
        throwSystemError("cannot look at the directory", directory.path);
    }
    if (const Fault fault = ownershipFault(status, geteuid())) {
        throw std::runtime_error("the directory " + directory.path + " " + *fault);
    }
    if ((status.st_mode & FOREIGN_ACCESS) == 0) {
        return;
    }
    if (fchmod(directory.descriptor.get(), DIRECTORY_MODE) != 0) {
        throwSystemError("cannot narrow the directory", directory.path);
    }
    static_cast<void>(
        std::fprintf(stderr,
                     "[WARNING] the directory %s could be read by others: its mode is "
                     "0700 now\n",
                     directory.path.c_str()));
}

void lockDirectory(const Directory& directory, std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(directory.descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            throwSystemError("cannot lock the directory", directory.path);
        }
        if (std::chrono::steady_clock::now() >= end) {
            errno = ETIMEDOUT;
            throwSystemError("cannot lock the directory", directory.path);
        }
        std::this_thread::sleep_for(LOCK_PAUSE);
    }
}

void throwSystemError(const std::string& step, const std::string& path) {
    throw std::system_error(errno, std::generic_category(), step + " " + path);
}
