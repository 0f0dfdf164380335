#include "frontend/exchange/password_key.h"

#include "core/protocol/files.h"
#include "frontend/exchange/front_end_error.h"
#include "platform/data_decryption/encrypt.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t KEY_FILE_SIZE = 32;

FrontEndError keyFileError(const std::string& what) {
    return {FailureKind::LOCAL_FILE, std::string(PRIVATE_KEY_TEMP_FILE) + ": " + what,
            "The challenge password is encrypted with the key in this file, which the daemon must "
            "be able to read too."};
}

// The daemon may have a user of its own, which reads the key through the folder's group.
constexpr mode_t KEY_FILE_MODE = 0640;

bool writeKey(int descriptor) {
    std::array<unsigned char, KEY_FILE_SIZE> key{};
    const bool written =
        fchmod(descriptor, KEY_FILE_MODE) == 0 &&
        getrandom(key.data(), key.size(), 0) == static_cast<ssize_t>(key.size()) &&
        write(descriptor, key.data(), key.size()) == static_cast<ssize_t>(key.size()) &&
        fsync(descriptor) == 0;
    explicit_bzero(key.data(), key.size());
    return written;
}

// The file appears whole: it is written under another name, then linked. When another process was
// faster, its key counts.
void makeKeyFile() {
    std::string temporary = std::string(PRIVATE_KEY_TEMP_FILE) + ".XXXXXX";
    const int descriptor = mkostemp(temporary.data(), O_CLOEXEC); // for its owner alone
    if (descriptor < 0) {
        throw keyFileError(std::string("cannot be made: ") + std::strerror(errno) + ".");
    }
    bool made = writeKey(descriptor);
    (void)close(descriptor);
    made = made && (link(temporary.c_str(), PRIVATE_KEY_TEMP_FILE) == 0 || errno == EEXIST);
    const int reason = errno;
    (void)unlink(temporary.c_str());
    if (!made) {
        throw keyFileError(std::string("cannot be made: ") + std::strerror(reason) + ".");
    }
}

} // namespace

std::string encryptChallengePassword(const std::string& password) {
    if (access(PRIVATE_KEY_TEMP_FILE, F_OK) != 0) {
        makeKeyFile();
    }
    std::string cipherText = encryptHexString(password, PRIVATE_KEY_TEMP_FILE);
    if (cipherText.empty()) {
        throw keyFileError("the challenge password cannot be encrypted with it.");
    }
    return cipherText;
}
