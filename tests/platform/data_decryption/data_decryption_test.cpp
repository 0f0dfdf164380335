// Encrypted texts: known answers, texts and key files that are refused with the exact line on
// standard error, and the round trip.

#include "platform/data_decryption.h"
#include "platform/data_decryption/encrypt.h"
#include "tests/platform/on_threads.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <sys/stat.h>

#include <filesystem>

using namespace std::string_literals;

namespace {

constexpr std::size_t MAX_PLAIN_SIZE = 32740;
const std::string TOO_SHORT = "the text has fewer than 56 digits";
const std::string ODD = "the text has an odd number of digits";
const std::string TOO_LONG = "the text has more than 65536 digits";
const std::string NO_DIGIT = "the text holds a character that is no hexadecimal digit";
const std::string FALSE_TAG = "the text is damaged or was encrypted with another key";

// Nonce 40 41 ... 4b under the key 00 01 ... 1f, made with another implementation of AES-256-GCM.
const std::string KNOWN_TEXT = "404142434445464748494a4b81d1cf4f4a59e964a8e42304be"
                               "177e1503e74c3c851e8e6547dc50edc5ab";
const std::string KNOWN_PLAIN_TEXT = "challenge 42%s";

std::string bytesUpTo(int end) {
    std::string bytes;
    for (int byte = 0; byte < end; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::string upperCase(std::string digits) {
    for (char& digit : digits) {
        digit = digit >= 'a' && digit <= 'f' ? static_cast<char>(digit - 'a' + 'A') : digit;
    }
    return digits;
}

std::string replaced(std::size_t position, const std::string& by) {
    return std::string(KNOWN_TEXT).replace(position, by.size(), by);
}

} // namespace

class DataDecryption : public testing::Test {
protected:
    DataDecryption() {
        writeFile(keyFile, key);
    }

    void expectText(const std::string& cipherHex, const std::string& plainText) const {
        const OutputCapture errors(2);
        EXPECT_EQ(decryptHexString(cipherHex, keyFile), plainText);
        EXPECT_EQ(errors.text(), "");
    }

    static void expectFailure(const std::string& cipherHex, const std::string& file,
                              const std::string& reason) {
        const OutputCapture errors(2);
        EXPECT_EQ(decryptHexString(cipherHex, file), "");
        EXPECT_EQ(errors.text(), "data_decryption: " + reason + "\n") << cipherHex.substr(0, 100);
    }

    static void expectEncryptionFailure(const std::string& plainText, const std::string& file,
                                        const std::string& reason) {
        const OutputCapture errors(2);
        EXPECT_EQ(encryptHexString(plainText, file), "");
        EXPECT_EQ(errors.text(), "data_encryption: " + reason + "\n");
    }

    // The key file's reasons are the same in both directions.
    static void expectBadKeyFile(const std::string& file, const std::string& reason) {
        expectFailure(KNOWN_TEXT, file, reason);
        expectEncryptionFailure("text", file, reason);
    }

    TempDirectory directory;
    std::string key = bytesUpTo(32);
    std::string keyFile = directory.file("pkey.tmp");
};

using DataEncryption = DataDecryption;

TEST_F(DataDecryption, RecoversAKnownTextInDigitsOfEitherCase) {
    expectText(KNOWN_TEXT, KNOWN_PLAIN_TEXT);
    expectText(upperCase(KNOWN_TEXT), KNOWN_PLAIN_TEXT);
    expectText(upperCase(KNOWN_TEXT.substr(0, 41)) + KNOWN_TEXT.substr(41), KNOWN_PLAIN_TEXT);
}

// Test cases 13 and 14 of the GCM algorithm's published vectors: key and nonce of zeros.
TEST_F(DataDecryption, RecoversThePublishedVectors) {
    writeFile(keyFile, std::string(32, '\0'));
    const std::string nonce(24, '0');
    expectText(nonce + "cea7403d4d606b6e074ec5d3baf39d18d0d1c8a799996bf0265b98b5d48ab919",
               std::string(16, '\0'));
    expectText(nonce + "530f8afbc74536b9a963b4f1c4cb738b", "");
}

TEST_F(DataDecryption, GivesAnEmptyTextAndTheReasonForABadText) {
    for (const auto& [text, reason] : std::vector<std::pair<std::string, std::string>>{
             {"", TOO_SHORT},
             {KNOWN_TEXT.substr(0, 24), TOO_SHORT},
             {KNOWN_TEXT.substr(0, 55), TOO_SHORT},
             {KNOWN_TEXT + "0", ODD},
             {KNOWN_TEXT.substr(0, KNOWN_TEXT.size() - 1), ODD},
             {std::string(65538, '0'), TOO_LONG},
             {std::string(65537, '0'), TOO_LONG},
             {replaced(0, "g"), NO_DIGIT},
             {replaced(1, "G"), NO_DIGIT},
             {replaced(30, "/"), NO_DIGIT}, // before "0"
             {replaced(30, ":"), NO_DIGIT}, // behind "9"
             {replaced(30, "@"), NO_DIGIT}, // before "A"
             {replaced(31, "`"), NO_DIGIT}, // before "a"
             {replaced(KNOWN_TEXT.size() - 1, "x"), NO_DIGIT},
             {replaced(0, "0x"), NO_DIGIT},
             {replaced(10, " "), NO_DIGIT},
             {KNOWN_TEXT + "\r\n", NO_DIGIT},
             {replaced(10, "\0"s), NO_DIGIT},
             {replaced(10, "\xC3\xA4"), NO_DIGIT},
             {replaced(0, "%s%n%s%n"), NO_DIGIT},
             {KNOWN_TEXT.substr(0, KNOWN_TEXT.size() - 2), FALSE_TAG},
             {KNOWN_TEXT.substr(2), FALSE_TAG},
             {KNOWN_TEXT + "00", FALSE_TAG},
             {std::string(65536, '0'), FALSE_TAG},
             {std::string(56, '0'), FALSE_TAG},
         }) {
        expectFailure(text, keyFile, reason);
    }
}

TEST_F(DataDecryption, FindsEverySingleFlippedBit) {
    const OutputCapture errors(2);
    std::string lines;
    for (std::size_t bit = 0; bit < KNOWN_TEXT.size() * 4; ++bit) {
        std::string text = KNOWN_TEXT;
        const auto value = std::stoul(text.substr(bit / 4, 1), nullptr, 16) ^ (1UL << (bit % 4));
        text[bit / 4] = "0123456789abcdef"[value];
        EXPECT_EQ(decryptHexString(text, keyFile), "") << "bit " << bit;
        lines += "data_decryption: " + FALSE_TAG + "\n";
    }
    EXPECT_EQ(errors.text(), lines);
}

TEST_F(DataDecryption, RefusesAnotherKey) {
    key.back() = static_cast<char>(key.back() ^ 1);
    writeFile(keyFile, key);
    expectFailure(KNOWN_TEXT, keyFile, FALSE_TAG);
}

TEST_F(DataDecryption, NeedsAKeyFileOfExactly32Bytes) {
    const std::string reason = "the key file " + keyFile + " does not hold exactly 32 bytes";
    for (const std::string& content :
         {""s, key.substr(1), key + "\n", key + key, std::string(100'000, 'k')}) {
        writeFile(keyFile, content);
        expectBadKeyFile(keyFile, reason);
    }
}

TEST_F(DataDecryption, NeedsAKeyFileThatCanBeRead) {
    const std::string missing = directory.file("missing");
    const std::string fifo = directory.file("fifo");
    const std::string loop = directory.file("loop");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_symlink(loop, loop);
    for (const auto& [file, fault] : std::vector<std::pair<std::string, std::string>>{
             {missing, " cannot be read: No such file or directory"},
             {"", " cannot be read: No such file or directory"},
             {loop, " cannot be read: Too many levels of symbolic links"},
             {fifo, " is not a regular file"},
             {directory.path(), " is not a regular file"},
             {"/dev/zero", " is not a regular file"},
         }) {
        expectBadKeyFile(file, "the key file " + file + fault);
    }
    expectBadKeyFile(keyFile + "\0x"s, "the key file's path holds a NUL character");
}

TEST_F(DataDecryption, RecoversWhateverWasEncrypted) {
    for (const std::string& plainText :
         {"x"s, "p\xC3\xA4ss w\xC3\xB6rd%n"s, bytesUpTo(256), std::string(MAX_PLAIN_SIZE, 'm')}) {
        const std::string cipherHex = encryptHexString(plainText, keyFile);
        EXPECT_EQ(cipherHex.size(), 2 * (12 + plainText.size() + 16));
        EXPECT_EQ(cipherHex.find_first_not_of("0123456789abcdef"), std::string::npos);
        expectText(cipherHex, plainText);
    }
}

TEST_F(DataEncryption, TakesAFreshNonceForEveryText) {
    const std::string first = encryptHexString("text", keyFile);
    const std::string second = encryptHexString("text", keyFile);
    EXPECT_NE(first.substr(0, 24), second.substr(0, 24));
    EXPECT_NE(first.substr(24), second.substr(24));
}

TEST_F(DataEncryption, RefusesATextThatCouldNotComeBack) {
    expectEncryptionFailure("", keyFile, "an empty text cannot be encrypted");
    expectEncryptionFailure(std::string(MAX_PLAIN_SIZE + 1, 'm'), keyFile,
                            "the text has more than 32740 bytes");
}

TEST_F(DataDecryption, LeavesTheCallersOpensslErrorsAsTheyWere) {
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 42);
    const auto error = ERR_peek_last_error();
    expectFailure(replaced(60, "00"), keyFile, FALSE_TAG);
    expectText(KNOWN_TEXT, KNOWN_PLAIN_TEXT);
    EXPECT_NE(encryptHexString("text", keyFile), "");
    EXPECT_EQ(ERR_get_error(), error);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST_F(DataDecryption, WorksOnSeveralThreadsAtOnce) {
    std::vector<std::string> results(8);
    onThreads(results.size(), [&](std::size_t i) {
        for (int round = 0; round < 50; ++round) {
            results[i] = decryptHexString(encryptHexString("round", keyFile), keyFile);
        }
    });
    EXPECT_EQ(results, std::vector<std::string>(8, "round"));
}
