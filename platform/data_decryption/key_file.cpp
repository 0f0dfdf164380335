// Reads a key straight from the file into the key's own memory: no stream, whose buffer would keep
// a copy. One byte more than a key has is asked for, which tells a longer file from a fitting one.

#include "platform/data_decryption/key_file.h"

#include "platform/file_descriptor.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace {

std::string unreadable(const std::string& path, int error) {
    return "the key file " + path + " cannot be read: " + std::generic_category().message(error);
}

// Up to size bytes, fewer only at the file's end; -1 with errno on a failure.
ssize_t readUpTo(int fd, unsigned char* bytes, std::size_t size) {
    std::size_t filled = 0;
    while (filled < size) {
        const auto count = ::read(fd, bytes + filled, size - filled);
        if (count == 0) {
            break;
        }
        if (count > 0) {
            filled += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return static_cast<ssize_t>(filled);
}

} // namespace

CipherKey::~CipherKey() {
    OPENSSL_cleanse(bytes.data(), bytes.size());
}

std::string readKeyFile(const std::string& path, CipherKey& key) {
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
    const auto size = readUpTo(file.get(), key.bytes.data(), key.bytes.size());
    unsigned char further = 0;
    const auto rest = size < 0 ? size : readUpTo(file.get(), &further, 1);
    if (rest < 0) {
        return unreadable(path, errno);
    }
    if (size != static_cast<ssize_t>(KEY_SIZE) || rest != 0) {
        return "the key file " + path + " does not hold exactly " + std::to_string(KEY_SIZE) +
               " bytes";
    }
    return {};
}
