// Plain texts and keys leave no trace in freed memory.

#include "platform/data_decryption.h"
#include "platform/data_decryption/encrypt.h"
#include "platform/data_decryption/key_file.h"
#include "tests/platform/watched_memory.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <new>

namespace {

const std::string PLAIN_TEXT = "a challenge password of more than a few letters";
const std::string KEY = "0123456789 a key of 32 bytes ...";
const std::vector<std::string> SECRETS = {PLAIN_TEXT, KEY};

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

TEST_F(DecryptionMemory, HoldsNothingWhereAKeyWas) {
    alignas(CipherKey) std::array<unsigned char, sizeof(CipherKey)> memory{};
    auto* key = new (memory.data()) CipherKey;
    ASSERT_EQ(readKeyFile(keyFile, *key), std::nullopt);
    ASSERT_NE(::memmem(memory.data(), memory.size(), KEY.data(), KEY.size()), nullptr);
    key->~CipherKey();
    EXPECT_EQ(memory, (std::array<unsigned char, sizeof(CipherKey)>{}));
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
