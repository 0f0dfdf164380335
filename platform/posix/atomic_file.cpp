#include "platform/posix/atomic_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace {

constexpr const char* TEMPORARY_NAME = ".new";
constexpr const char* LEAVING_NAME = ".gone";
constexpr mode_t FILE_MODE = 0600;
constexpr std::size_t READ_LIMIT = std::size_t{1} << 20; // far above any file written here

struct CloseDirectory {
    void operator()(DIR* directory) const {
        closedir(directory);
    }
};

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

void writeTemporaryFile(const Directory& directory, std::string_view content) {
    const FileDescriptor file(openat(directory.descriptor.get(), TEMPORARY_NAME,
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                     FILE_MODE));
    if (file.get() < 0 || !writeAll(file.get(), content) || fsync(file.get()) != 0) {
        throwSystemError("cannot write a file in", directory.path);
    }
}

// As far as the file system keeps its promise; nobody waits for what it does not.
void overwrite(const FileDescriptor& file) {
    struct stat status = {};
    if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1) {
        return;
    }
    const std::string zeros(static_cast<std::size_t>(status.st_size), '\0');
    static_cast<void>(writeAll(file.get(), zeros) && fsync(file.get()) == 0);
}

FileDescriptor openToOverwrite(const Directory& directory, const char* name) {
    return FileDescriptor(
        openat(directory.descriptor.get(), name, O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

// False when there is no such file.
bool overwriteAndUnlink(const Directory& directory, const char* name) {
    const FileDescriptor file = openToOverwrite(directory, name);
    if (file.get() < 0 && errno == ENOENT) {
        return false;
    }
    overwrite(file); // what cannot be opened is unlinked as it is
    if (unlinkat(directory.descriptor.get(), name, 0) == 0) {
        return true;
    }
    if (errno != ENOENT) {
        throwSystemError("cannot remove a file from", directory.path);
    }
    return false;
}

// Best effort on a failed write: what cannot be removed now is removed under the next lock.
void discardTemporaryFile(const Directory& directory) {
    overwrite(openToOverwrite(directory, TEMPORARY_NAME));
    static_cast<void>(unlinkat(directory.descriptor.get(), TEMPORARY_NAME, 0));
}

void nameTemporaryFile(const Directory& directory, const std::string& name) {
    const int folder = directory.descriptor.get();
    if (renameat(folder, TEMPORARY_NAME, folder, name.c_str()) != 0) {
        throwSystemError("cannot put a new file into", directory.path);
    }
}

// A second name costs no copy of what may be a key.
void keepUnderSecondName(const Directory& directory, const std::string& name,
                         const Directory& kept) {
    if (linkat(directory.descriptor.get(), name.c_str(), kept.descriptor.get(), name.c_str(), 0) !=
        0) {
        throwSystemError("cannot keep a replaced file in", kept.path);
    }
    flushDirectory(kept);
}

// Of an open file; nothing above the limit is read.
std::size_t bytesToRead(const FileDescriptor& file, const std::string& path) {
    struct stat status = {};
    if (fstat(file.get(), &status) != 0) {
        throwSystemError("cannot look at", path);
    }
    return std::min(static_cast<std::size_t>(std::max<off_t>(status.st_size, 0)), READ_LIMIT);
}

std::string pathOf(const Directory& directory, const std::string& name) {
    return directory.path + "/" + name;
}

} // namespace

void writeFileAtomically(const Directory& directory, const std::string& name,
                         std::string_view content) {
    try {
        writeTemporaryFile(directory, content);
        nameTemporaryFile(directory, name);
    } catch (...) {
        discardTemporaryFile(directory);
        throw;
    }
    flushDirectory(directory);
}

void replaceFile(const Directory& directory, const std::string& name, std::string_view content,
                 const Directory& kept) {
    try {
        writeTemporaryFile(directory, content);
        static_cast<void>(removeFile(kept, name)); // there may be none
        keepUnderSecondName(directory, name, kept);
        nameTemporaryFile(directory, name);
    } catch (...) {
        discardTemporaryFile(directory);
        throw;
    }
    flushDirectory(directory);
}

void removeLeftovers(const Directory& directory) {
    static_cast<void>(overwriteAndUnlink(directory, TEMPORARY_NAME)); // mostly there is none
    static_cast<void>(overwriteAndUnlink(directory, LEAVING_NAME));
}

bool removeFile(const Directory& directory, const std::string& name) {
    const int folder = directory.descriptor.get();
    if (!fileExists(directory, name)) {
        return false;
    }
    if (renameat(folder, name.c_str(), folder, LEAVING_NAME) != 0) {
        throwSystemError("cannot remove a file from", directory.path);
    }
    static_cast<void>(overwriteAndUnlink(directory, LEAVING_NAME)); // it was there
    flushDirectory(directory);
    return true;
}

std::optional<SecretText> readFile(const Directory& directory, const std::string& name) {
    const FileDescriptor file(
        openat(directory.descriptor.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (file.get() < 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        throwSystemError("cannot open", pathOf(directory, name));
    }
    SecretText content(bytesToRead(file, pathOf(directory, name)), '\0');
    const ssize_t count = readUpTo(file, content.data(), content.size());
    if (count < 0) {
        throwSystemError("cannot read", pathOf(directory, name));
    }
    content.resize(static_cast<std::size_t>(count));
    return content;
}

bool fileExists(const Directory& directory, const std::string& name) {
    struct stat status = {};
    if (fstatat(directory.descriptor.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        return true;
    }
    if (errno != ENOENT) {
        throwSystemError("cannot look for", pathOf(directory, name));
    }
    return false;
}

std::vector<std::string> listFiles(const Directory& directory) {
    // The stream closes its descriptor and moves its position, so it has one of its own.
    const std::unique_ptr<DIR, CloseDirectory> opened(
        fdopendir(openat(directory.descriptor.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
    if (!opened) {
        throwSystemError("cannot list", directory.path);
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
        throwSystemError("cannot list", directory.path);
    }
    std::sort(names.begin(), names.end());
    return names;
}
