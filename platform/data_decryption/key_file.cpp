// The key is read straight into its own memory: a stream's buffer would keep a copy. One byte more
// than a key has is asked for, to notice a longer file.

#include "platform/data_decryption/key_file.h"

#include "platform/posix/file_descriptor.h"

#include <cerrno>
#include <cstring>
#include <system_error>

namespace {

std::string unreadable(const std::string& path, int error) {
    return "the key file " + path + " cannot be read: " + std::generic_category().message(error);
}

Fault readKey(const FileDescriptor& file, const std::string& path, CipherKey& key) {
    const ssize_t size = readUpTo(file, key.bytes.data(), key.bytes.size());
    unsigned char further = 0;
    const ssize_t rest = size < 0 ? size : readUpTo(file, &further, 1);
    if (rest < 0) {
        return unreadable(path, errno);
    }
    if (size != static_cast<ssize_t>(KEY_SIZE) || rest != 0) {
        return "the key file " + path + " does not hold exactly " + std::to_string(KEY_SIZE) +
               " bytes";
    }
    return std::nullopt;
}

} // namespace

CipherKey::~CipherKey() {
    explicit_bzero(bytes.data(), bytes.size());
}

Fault readKeyFile(const std::string& path, CipherKey& key) {
    if (path.find('\0') != std::string::npos) {
        return "the key file's path holds a NUL character";
    }
    const FileDescriptor file = openForReading(path);
    if (file.get() < 0) {
        return unreadable(path, errno);
    }
    if (!isRegularFile(file)) {
        return "the key file " + path + " is not a regular file";
    }
    return readKey(file, path, key);
}
