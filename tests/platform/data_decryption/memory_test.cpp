// Plain texts and keys leave no trace in freed memory or on the stack.

#include "platform/data_decryption.h"
#include "platform/data_decryption/encrypt.h"
#include "tests/platform/watched_memory.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdlib>
#include <functional>
#include <memory>

namespace {

const std::string PLAIN_TEXT = "a challenge password of more than a few letters";
const std::string KEY = "0123456789 a key of 32 bytes ...";
const std::vector<std::string> SECRETS = {PLAIN_TEXT, KEY};

void* callWork(void* work) {
    (*static_cast<std::function<void()>*>(work))();
    return nullptr;
}

// What the work leaves on the stack of a thread of its own.
std::string stackAfter(std::function<void()> work) {
    constexpr std::size_t SIZE = std::size_t{1} << 20;
    const std::unique_ptr<void, decltype(&std::free)> stack(std::aligned_alloc(4096, SIZE),
                                                            std::free);
    pthread_attr_t attributes = {};
    pthread_t thread = {};
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    EXPECT_EQ(pthread_attr_setstack(&attributes, stack.get(), SIZE), 0);
    EXPECT_EQ(pthread_create(&thread, &attributes, callWork, &work), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
    return {static_cast<const char*>(stack.get()), SIZE};
}

} // namespace

class DecryptionMemory : public testing::Test {
protected:
    DecryptionMemory() {
        writeFile(keyFile, KEY);
        cipherHex = encryptHexString(PLAIN_TEXT, keyFile);
    }

    TempDirectory directory;
    std::string keyFile = directory.file("pkey.tmp");
    std::string cipherHex;
};

TEST_F(DecryptionMemory, IsWatched) {
    auto text = std::make_unique<std::string>(PLAIN_TEXT);
    const MemoryWatch watch(SECRETS);
    text.reset();
    EXPECT_EQ(watch.tracesSeen(), 1);
}

TEST_F(DecryptionMemory, HoldsOnlyTheResultOfADecryption) {
    std::string plainText;
    {
        const MemoryWatch watch(SECRETS);
        plainText = decryptHexString(cipherHex, keyFile);
        EXPECT_EQ(watch.tracesSeen(), 0);
    }
    EXPECT_EQ(plainText, PLAIN_TEXT);
}

TEST_F(DecryptionMemory, HoldsNoKeyOnTheStack) {
    const std::string decrypting =
        stackAfter([this] { EXPECT_EQ(decryptHexString(cipherHex, keyFile), PLAIN_TEXT); });
    const std::string encrypting =
        stackAfter([this] { EXPECT_NE(encryptHexString(PLAIN_TEXT, keyFile), ""); });
    EXPECT_EQ(decrypting.find(KEY.substr(8, 16)), std::string::npos);
    EXPECT_EQ(encrypting.find(KEY.substr(8, 16)), std::string::npos);
}

TEST_F(DecryptionMemory, HoldsNothingOfADamagedText) {
    cipherHex.back() = cipherHex.back() == '0' ? '1' : '0';
    const MemoryWatch watch(SECRETS);
    EXPECT_EQ(decryptHexString(cipherHex, keyFile), "");
    EXPECT_EQ(watch.tracesSeen(), 0);
}

TEST_F(DecryptionMemory, HoldsNothingAfterAnEncryption) {
    const MemoryWatch watch(SECRETS);
    EXPECT_NE(encryptHexString(PLAIN_TEXT, keyFile), "");
    EXPECT_EQ(watch.tracesSeen(), 0);
}
