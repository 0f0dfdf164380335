#pragma once

// Directories that are opened once: what changes one works relative to its descriptor, so that a
// rename and the flush after it are sure to mean the same directory.
//
// Directories are made with mode 0700. A fault of the machine (no permission, no space, ...) is
// thrown as std::system_error, its text naming the step and the path.

#include "platform/posix/fault.h"
#include "platform/posix/file_descriptor.h"

#include <sys/stat.h>

#include <chrono>
#include <string>

struct Directory {
    FileDescriptor descriptor;
    std::string path; // for messages
};

// Opens the directory at the path, or the folder of that name in a directory, and makes it when it
// is missing. The directory above must be there. A symbolic link in its place is a fault.
[[nodiscard]] Directory openOrMakeDirectory(const std::string& path);
[[nodiscard]] Directory openOrMakeFolder(const Directory& parent, const std::string& name);

// Makes sure that the directory is this process's alone. One that belongs to another user, or that
// group or others may write to, is a fault, because what is in it may be theirs. One that they may
// only read is narrowed to mode 0700, told on standard error.
void keepToOwner(const Directory& directory);

// What speaks against such a directory for a process of that user; nothing when all is well.
[[nodiscard]] Fault ownershipFault(const struct stat& status, uid_t user);

// Puts on disk what names the directory holds.
void flushDirectory(const Directory& directory);

// Takes the directory's lock, which is exclusive among threads and processes, and waits so long for
// another to give it up: then it is a fault. The lock ends with the descriptor, or with the
// process.
void lockDirectory(const Directory& directory, std::chrono::milliseconds patience);

// The text of the error number with the step and the path before it.
[[noreturn]] void throwSystemError(const std::string& step, const std::string& path);
