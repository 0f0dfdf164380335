#pragma once

// The directory in which the backend keeps everything:
//
//   installed/  one file for each certificate: its private key, where the backend knows one, then
//               the certificate and the rest of its chain, all PEM. Key and certificate share a
//               file, so that one rename replaces both.
//   previous/   what the last replacement of each certificate replaced, under the same names.
//   requests/   the private keys of signing requests whose certificate has not come yet.
//
// The directory's lock guards all of it, among threads and among processes. Directory and folders
// are this process's own, open to nobody else, and no links.

#include "platform/posix/directory.h"

#include <optional>
#include <string>
#include <string_view>

// The lock, held from construction to destruction. Whatever needs the lock takes this as an
// argument.
class LockedDirectory {
public:
    // Makes the directory and its folders where they are missing, waits at most 5 seconds for the
    // lock, looks to whom they belong (keepToOwner), and removes what a crash left behind. Throws
    // std::runtime_error or std::system_error when they may not be used, and on any other fault of
    // the machine.
    explicit LockedDirectory(const std::string& path);

    [[nodiscard]] const std::string& path() const {
        return mTop.path;
    }
    [[nodiscard]] const Directory& installed() const {
        return mInstalled;
    }
    [[nodiscard]] const Directory& previous() const {
        return mPrevious;
    }
    [[nodiscard]] const Directory& requests() const {
        return mRequests;
    }

private:
    Directory mTop; // has the lock
    Directory mInstalled;
    Directory mPrevious;
    Directory mRequests;
};

[[nodiscard]] std::string installedFolder(const std::string& directory);
[[nodiscard]] std::string requestsFolder(const std::string& directory);

// The file name for a resource URI: "/" becomes "+", letters, digits, "-" and "_" stay, any other
// byte becomes "=" and two hexadecimal digits. A name too long for a file is cut and ends in "~"
// and the SHA-256 digest of the URI. Different URIs have different names; none has a dot.
[[nodiscard]] std::string fileNameOf(std::string_view uri);

// The URI of a file name; nothing when the name is cut, or none that fileNameOf makes.
[[nodiscard]] std::optional<std::string> uriOfFileName(std::string_view name);
