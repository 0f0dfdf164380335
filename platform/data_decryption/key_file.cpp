// Reads a key straight from the file into the key's own memory: no stream, whose buffer would keep
// a copy. One byte more than a key has is asked for, which tells a longer file from a fitting one.

#include "platform/data_decryption/key_file.h"

#include "platform/posix/file_descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace {

std::string unreadable(const std::string& path, int error) {
    return "the key file " + path + " cannot be read: " + std::generic_category().message(error);
}

} // namespace

CipherKey::~CipherKey() {
    explicit_bzero(bytes.data(), bytes.size());
}

Fault readKeyFile(const std::string& path, CipherKey& key) {
    if (path.find('\0') != std::string::npos) {
        return "the key file's path holds a NUL character";
    }
    // Not blocking, so that a FIFO in the file's place cannot hold the caller up.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0) {
        return unreadable(path, errno);
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        return unreadable(path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "the key file " + path + " is not a regular file";
    }
    const auto size = readUpTo(file, key.bytes.data(), key.bytes.size());
    unsigned char further = 0;
    const auto rest = size < 0 ? size : readUpTo(file, &further, 1);
    if (rest < 0) {
        return unreadable(path, errno);
    }
    if (size != static_cast<ssize_t>(KEY_SIZE) || rest != 0) {
        return "the key file " + path + " does not hold exactly " + std::to_string(KEY_SIZE) +
               " bytes";
    }
    return std::nullopt;
}
