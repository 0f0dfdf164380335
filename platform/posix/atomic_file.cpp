// What changes a directory opens it first and works relative to it, so that a rename and the flush
// after it are sure to mean the same directory.

#include "platform/posix/atomic_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

namespace {

constexpr const char* TEMPORARY_NAME = ".new";
constexpr mode_t DIRECTORY_MODE = 0700;
constexpr mode_t FILE_MODE = 0600;
constexpr std::size_t READ_STEP = 16384;
constexpr std::size_t READ_LIMIT = std::size_t{1} << 20; // far above any file written here

struct CloseDirectory {
    void operator()(DIR* directory) const {
        closedir(directory);
    }
};

[[noreturn]] void failWith(const std::string& step, const std::string& path) {
    throw std::system_error(errno, std::generic_category(), step + " " + path);
}

FileDescriptor openDirectory(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        failWith("cannot open the directory", path);
    }
    return FileDescriptor(descriptor);
}

void flushDirectory(const FileDescriptor& directory, const std::string& path) {
    if (fsync(directory.get()) != 0) {
        failWith("cannot flush the directory", path);
    }
}

bool writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(descriptor, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return true;
}

void writeTemporaryFile(const FileDescriptor& directory, const std::string& path,
                        std::string_view content) {
    const FileDescriptor file(openat(directory.get(), TEMPORARY_NAME,
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                     FILE_MODE));
    if (file.get() < 0 || !writeAll(file.get(), content) || fsync(file.get()) != 0) {
        failWith("cannot write a file in", path);
    }
}

// Best effort on a failed write: what cannot be removed now is removed under the next lock.
void discardTemporaryFile(const FileDescriptor& directory) {
    static_cast<void>(unlinkat(directory.get(), TEMPORARY_NAME, 0));
}

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
}

} // namespace

void makeDirectory(const std::string& path) {
    if (mkdir(path.c_str(), DIRECTORY_MODE) == 0) {
        flushDirectory(openDirectory(parentOf(path)), parentOf(path));
    } else if (errno != EEXIST) {
        failWith("cannot make the directory", path);
    }
}

FileDescriptor lockDirectory(const std::string& path) {
    FileDescriptor directory = openDirectory(path);
    while (flock(directory.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            failWith("cannot lock the directory", path);
        }
    }
    return directory;
}

void writeFileAtomically(const std::string& directory, const std::string& name,
                         std::string_view content) {
    const FileDescriptor opened = openDirectory(directory);
    try {
        writeTemporaryFile(opened, directory, content);
        if (renameat(opened.get(), TEMPORARY_NAME, opened.get(), name.c_str()) != 0) {
            failWith("cannot put a new file into", directory);
        }
    } catch (...) {
        discardTemporaryFile(opened);
        throw;
    }
    flushDirectory(opened, directory);
}

void removeInterruptedWrite(const std::string& directory) {
    if (unlink((directory + "/" + TEMPORARY_NAME).c_str()) != 0 && errno != ENOENT) {
        failWith("cannot remove an interrupted write in", directory);
    }
}

bool removeFile(const std::string& directory, const std::string& name) {
    const FileDescriptor opened = openDirectory(directory);
    if (unlinkat(opened.get(), name.c_str(), 0) != 0) {
        if (errno == ENOENT) {
            return false;
        }
        failWith("cannot remove a file from", directory);
    }
    flushDirectory(opened, directory);
    return true;
}

std::optional<SecretText> readFile(const std::string& directory, const std::string& name) {
    const std::string path = directory + "/" + name;
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (file.get() < 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        failWith("cannot open", path);
    }
    SecretText content;
    ssize_t count = 0;
    do {
        const std::size_t length = content.size();
        content.resize(length + READ_STEP);
        count = readUpTo(file, content.data() + length, READ_STEP);
        if (count < 0) {
            failWith("cannot read", path);
        }
        content.resize(length + static_cast<std::size_t>(count));
    } while (static_cast<std::size_t>(count) == READ_STEP && content.size() < READ_LIMIT);
    return content;
}

bool fileExists(const std::string& directory, const std::string& name) {
    const std::string path = directory + "/" + name;
    struct stat status = {};
    if (lstat(path.c_str(), &status) == 0) {
        return true;
    }
    if (errno != ENOENT) {
        failWith("cannot look for", path);
    }
    return false;
}

std::vector<std::string> listFiles(const std::string& directory) {
    const std::unique_ptr<DIR, CloseDirectory> opened(opendir(directory.c_str()));
    if (!opened) {
        failWith("cannot list", directory);
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = readdir(opened.get())) { // one stream, one thread
        if (entry->d_name[0] != '.') {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        failWith("cannot list", directory);
    }
    std::sort(names.begin(), names.end());
    return names;
}
