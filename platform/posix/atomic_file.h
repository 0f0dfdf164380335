#pragma once

// Files with a defined state on disk at every moment.
//
// A file is written to the one temporary name of its directory, flushed, renamed to its final name,
// and the directory is flushed. Whenever the process dies or the power fails, the final name is
// that of the old file or of the whole new one. A file that goes is renamed to another temporary
// name first, overwritten, flushed and only then unlinked. Both names are fixed, because writers
// hold the directory's lock: the next one to take it removes what a crash left.
//
// Overwriting reaches what the file system keeps in place. One that writes each block anew, and
// flash below any of them, may keep what was there.
//
// Files are made with mode 0600. A fault of the machine (no space, no permission, ...) is thrown as
// std::system_error, its text naming the step and the path.

#include "platform/posix/directory.h"
#include "platform/posix/secret_text.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Writes the file whole or not at all. The caller holds a lock that covers the directory.
void writeFileAtomically(const Directory& directory, const std::string& name,
                         std::string_view content);

// Writes the file in place of the one that is there, and keeps that under the same name in the
// other directory, in place of what was kept before. When it fails, the old file is still in its
// place.
void replaceFile(const Directory& directory, const std::string& name, std::string_view content,
                 const Directory& kept);

// Removes what an interrupted write or removal left behind. The caller holds a lock that covers the
// directory.
void removeLeftovers(const Directory& directory);

// Overwrites and removes the file for good: true when it was there, false when there was none. What
// has another name beside this one is not overwritten.
[[nodiscard]] bool removeFile(const Directory& directory, const std::string& name);

// The content of the file, at most 1 MiB of it; nothing when there is none. A symbolic link is a
// fault.
[[nodiscard]] std::optional<SecretText> readFile(const Directory& directory,
                                                 const std::string& name);

// Whether a file of that name is there.
[[nodiscard]] bool fileExists(const Directory& directory, const std::string& name);

// The names of the files in the directory, sorted; none that begins with a dot.
[[nodiscard]] std::vector<std::string> listFiles(const Directory& directory);
