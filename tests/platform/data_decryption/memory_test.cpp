// Plain texts and keys leave no trace in freed memory. The program's own operator delete, which the
// library uses too, looks through every block before it goes back to the heap.

#include "platform/data_decryption.h"
#include "platform/data_decryption/encrypt.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

namespace {

constexpr char PLAIN_TEXT[] = "a challenge password of more than a few letters";
constexpr char KEY[] = "0123456789 a key of 32 bytes ...";

bool gWatching = false;
int gTracesSeen = 0;

// Whether the block holds the middle of text. A cleared string has lost its first character only,
// and that is not to pass for wiped.
bool holds(void* block, const char* text) {
    return ::memmem(block, ::malloc_usable_size(block), text + 8, 16) != nullptr;
}

void inspect(void* block) {
    if (gWatching && block != nullptr && (holds(block, PLAIN_TEXT) || holds(block, KEY))) {
        ++gTracesSeen;
    }
}

} // namespace

void* operator new(std::size_t size) {
    void* block = std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    inspect(block);
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    inspect(block);
    std::free(block);
}

namespace {

class DecryptionMemory : public testing::Test {
protected:
    void SetUp() override {
        writeFile(keyFile, std::string(KEY, 32));
        cipherHex = encryptHexString(PLAIN_TEXT, keyFile);
        gTracesSeen = 0;
    }
    void TearDown() override {
        gWatching = false;
    }

    TempDirectory directory;
    std::string keyFile = directory.file("pkey.tmp");
    std::string cipherHex;
};

} // namespace

TEST_F(DecryptionMemory, WatchSeesATextThatIsNotWiped) {
    auto text = std::make_unique<std::string>(PLAIN_TEXT);
    gWatching = true;
    text.reset();
    EXPECT_EQ(gTracesSeen, 1);
}

TEST_F(DecryptionMemory, DecryptionLeavesOnlyItsResult) {
    gWatching = true;
    const std::string plainText = decryptHexString(cipherHex, keyFile);
    gWatching = false;
    EXPECT_EQ(plainText, PLAIN_TEXT);
    EXPECT_EQ(gTracesSeen, 0);
}

TEST_F(DecryptionMemory, FalseTagLeavesNothing) {
    cipherHex.back() = cipherHex.back() == '0' ? '1' : '0';
    gWatching = true;
    {
        const std::string plainText = decryptHexString(cipherHex, keyFile);
        EXPECT_EQ(plainText, "");
    }
    EXPECT_EQ(gTracesSeen, 0);
}

TEST_F(DecryptionMemory, EncryptionLeavesNothing) {
    const std::string plainText = PLAIN_TEXT;
    gWatching = true;
    const std::string encrypted = encryptHexString(plainText, keyFile);
    gWatching = false;
    EXPECT_NE(encrypted, "");
    EXPECT_EQ(gTracesSeen, 0);
}
