#pragma once

// An open file.

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

// Owns a file descriptor and closes it at the end of the scope. A negative number, as open returns
// it on a failure, owns nothing.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : mDescriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor();

    [[nodiscard]] int get() const {
        return mDescriptor;
    }

private:
    int mDescriptor;
};

// Opens the file for reading. Owns nothing when that fails, with the reason in errno. A FIFO in the
// file's place does not hold the caller up.
[[nodiscard]] FileDescriptor openForReading(const std::string& path);

[[nodiscard]] bool isRegularFile(const FileDescriptor& file);

// Reads up to size bytes, fewer only at the end of the file. Returns their number, or -1 with errno
// when reading fails. A signal in between does no harm.
[[nodiscard]] ssize_t readUpTo(const FileDescriptor& file, void* buffer, std::size_t size);

// The content of a regular file when it has at most that many bytes, otherwise its first longest +
// 1 bytes; nothing, with errno, when reading fails.
[[nodiscard]] std::optional<std::string> readContent(const FileDescriptor& file,
                                                     std::size_t longest);
