// Encrypted texts: known answers, tables of texts and key files that are refused with the exact
// line on standard error, and the round trip.

#include "platform/data_decryption.h"
#include "platform/data_decryption/encrypt.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t MAX_PLAIN_SIZE = 32740;

// Nonce 40 41 ... 4b under the key 00 01 ... 1f, made with another implementation of AES-256-GCM.
const std::string KNOWN_TEXT = "404142434445464748494a4b81d1cf4f4a59e964a8e42304be"
                               "177e1503e74c3c851e8e6547dc50edc5ab";
const std::string KNOWN_PLAIN_TEXT = "challenge 42%s";

std::string countingKey() {
    std::string key;
    for (char byte = 0; byte < 32; ++byte) {
        key += byte;
    }
    return key;
}

std::string upperCase(std::string digits) {
    for (char& digit : digits) {
        digit = digit >= 'a' && digit <= 'f' ? static_cast<char>(digit - 'a' + 'A') : digit;
    }
    return digits;
}

class DataDecryption : public testing::Test {
protected:
    void SetUp() override {
        writeFile(keyFile, countingKey());
    }

    static void expectText(const std::string& cipherHex, const std::string& file,
                           const std::string& plainText) {
        const OutputCapture errors(2);
        EXPECT_EQ(decryptHexString(cipherHex, file), plainText);
        EXPECT_EQ(errors.text(), "");
    }

    static void expectFailure(const std::string& cipherHex, const std::string& file,
                              const std::string& reason) {
        const OutputCapture errors(2);
        EXPECT_EQ(decryptHexString(cipherHex, file), "");
        EXPECT_EQ(errors.text(), "data_decryption: " + reason + "\n");
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
    std::string keyFile = directory.file("pkey.tmp");
};

struct BadText {
    std::string_view name;
    std::string text;
    std::string_view reason;
};

void PrintTo(const BadText& row, std::ostream* out) {
    *out << row.name;
}

std::string replaced(std::size_t position, const std::string& by) {
    return std::string(KNOWN_TEXT).replace(position, by.size(), by);
}

constexpr std::string_view TOO_SHORT = "the text has fewer than 56 digits";
constexpr std::string_view NO_DIGIT = "the text holds a character that is no hexadecimal digit";
constexpr std::string_view FALSE_TAG = "the text is damaged or was encrypted with another key";

const BadText BAD_TEXTS[] = {
    {"Empty", "", TOO_SHORT},
    {"NonceOnly", KNOWN_TEXT.substr(0, 24), TOO_SHORT},
    {"OneDigitShortOfATag", KNOWN_TEXT.substr(0, 55), TOO_SHORT},
    {"OddNumberOfDigits", KNOWN_TEXT + "0", "the text has an odd number of digits"},
    {"LastDigitMissing", KNOWN_TEXT.substr(0, KNOWN_TEXT.size() - 1),
     "the text has an odd number of digits"},
    {"TooLong", std::string(65538, '0'), "the text has more than 65536 digits"},
    {"TooLongAndOdd", std::string(65537, '0'), "the text has more than 65536 digits"},
    {"LetterBehindF", replaced(0, "g"), NO_DIGIT},
    {"CapitalBehindF", replaced(1, "G"), NO_DIGIT},
    {"CharacterBeforeZero", replaced(30, "/"), NO_DIGIT},
    {"CharacterBehindNine", replaced(30, ":"), NO_DIGIT},
    {"CharacterBeforeCapitalA", replaced(30, "@"), NO_DIGIT},
    {"CharacterBeforeA", replaced(31, "`"), NO_DIGIT},
    {"LastCharacter", replaced(KNOWN_TEXT.size() - 1, "x"), NO_DIGIT},
    {"HexadecimalPrefix", replaced(0, "0x"), NO_DIGIT},
    {"Blank", replaced(10, " "), NO_DIGIT},
    {"LineFeedAtTheEnd", KNOWN_TEXT + "\r\n", NO_DIGIT},
    {"Nul", replaced(10, std::string(1, '\0')), NO_DIGIT},
    {"HighByte", replaced(10, "\xC3\xA4"), NO_DIGIT},
    {"FormatString", replaced(0, "%s%n%s%n"), NO_DIGIT},
    {"LastByteMissing", KNOWN_TEXT.substr(0, KNOWN_TEXT.size() - 2), FALSE_TAG},
    {"FirstByteMissing", KNOWN_TEXT.substr(2), FALSE_TAG},
    {"OneByteMore", KNOWN_TEXT + "00", FALSE_TAG},
    {"LongestOfZeros", std::string(65536, '0'), FALSE_TAG},
    {"ShortestOfZeros", std::string(56, '0'), FALSE_TAG},
};

class BadEncryptedText : public DataDecryption, public testing::WithParamInterface<BadText> {};

} // namespace

TEST_F(DataDecryption, DecryptsAKnownText) {
    expectText(KNOWN_TEXT, keyFile, KNOWN_PLAIN_TEXT);
}

TEST_F(DataDecryption, TakesDigitsOfEitherCase) {
    expectText(upperCase(KNOWN_TEXT), keyFile, KNOWN_PLAIN_TEXT);
    expectText(upperCase(KNOWN_TEXT.substr(0, 41)) + KNOWN_TEXT.substr(41), keyFile,
               KNOWN_PLAIN_TEXT);
}

// Test cases 13 and 14 of the GCM algorithm's published vectors: key and nonce of zeros.
TEST_F(DataDecryption, DecryptsThePublishedVectors) {
    writeFile(keyFile, std::string(32, '\0'));
    const std::string nonce(24, '0');
    expectText(nonce + "cea7403d4d606b6e074ec5d3baf39d18d0d1c8a799996bf0265b98b5d48ab919", keyFile,
               std::string(16, '\0'));
    expectText(nonce + "530f8afbc74536b9a963b4f1c4cb738b", keyFile, "");
}

TEST_P(BadEncryptedText, GivesAnEmptyTextAndTheReason) {
    expectFailure(GetParam().text, keyFile, std::string(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(Table, BadEncryptedText, testing::ValuesIn(BAD_TEXTS),
                         [](const testing::TestParamInfo<BadText>& row) {
                             return std::string(row.param.name);
                         });

TEST_F(DataDecryption, EverySingleFlippedBitIsFound) {
    const OutputCapture errors(2);
    std::string lines;
    for (std::size_t bit = 0; bit < KNOWN_TEXT.size() * 4; ++bit) {
        std::string text = KNOWN_TEXT;
        const auto value = std::stoul(text.substr(bit / 4, 1), nullptr, 16) ^ (1UL << (bit % 4));
        text[bit / 4] = "0123456789abcdef"[value];
        EXPECT_EQ(decryptHexString(text, keyFile), "") << "bit " << bit;
        lines += "data_decryption: " + std::string(FALSE_TAG) + "\n";
    }
    EXPECT_EQ(errors.text(), lines);
}

TEST_F(DataDecryption, AnotherKeyIsRefused) {
    std::string key = countingKey();
    key.back() = static_cast<char>(key.back() ^ 1);
    writeFile(keyFile, key);
    expectFailure(KNOWN_TEXT, keyFile, std::string(FALSE_TAG));
}

TEST_F(DataDecryption, KeyFileMustHoldExactly32Bytes) {
    const std::string reason = "the key file " + keyFile + " does not hold exactly 32 bytes";
    for (const auto& content : {std::string(), countingKey().substr(1), countingKey() + "\n",
                                countingKey() + countingKey(), std::string(100'000, 'k')}) {
        writeFile(keyFile, content);
        expectBadKeyFile(keyFile, reason);
    }
}

TEST_F(DataDecryption, KeyFileMustBeThere) {
    const std::string missing = directory.file("missing");
    expectBadKeyFile(missing,
                     "the key file " + missing + " cannot be read: No such file or directory");
    expectBadKeyFile("", "the key file  cannot be read: No such file or directory");
}

TEST_F(DataDecryption, KeyFileMustBeARegularFile) {
    const std::string fifo = directory.file("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    expectBadKeyFile(fifo, "the key file " + fifo + " is not a regular file");
    expectBadKeyFile(directory.path(),
                     "the key file " + directory.path() + " is not a regular file");
    expectBadKeyFile("/dev/zero", "the key file /dev/zero is not a regular file");
}

TEST_F(DataDecryption, KeyFileThatCannotBeOpenedIsReported) {
    const std::string loop = directory.file("loop");
    std::filesystem::create_symlink(loop, loop);
    expectBadKeyFile(loop,
                     "the key file " + loop + " cannot be read: Too many levels of symbolic links");
}

TEST_F(DataDecryption, KeyFilePathIsNotCutAtANul) {
    expectBadKeyFile(keyFile + std::string(1, '\0') + "x",
                     "the key file's path holds a NUL character");
}

TEST_F(DataDecryption, EncryptedTextsComeBackWhole) {
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    for (const auto& plainText : {std::string("x"), std::string("p\xC3\xA4ss w\xC3\xB6rd%n"),
                                  everyByte, std::string(MAX_PLAIN_SIZE, 'm')}) {
        const std::string cipherHex = encryptHexString(plainText, keyFile);
        EXPECT_EQ(cipherHex.size(), 2 * (12 + plainText.size() + 16));
        EXPECT_EQ(cipherHex.find_first_not_of("0123456789abcdef"), std::string::npos);
        expectText(cipherHex, keyFile, plainText);
    }
}

TEST_F(DataDecryption, EveryEncryptionTakesAFreshNonce) {
    const std::string first = encryptHexString("text", keyFile);
    const std::string second = encryptHexString("text", keyFile);
    EXPECT_NE(first.substr(0, 24), second.substr(0, 24));
    EXPECT_NE(first.substr(24), second.substr(24));
}

TEST_F(DataDecryption, TextsThatCouldNotComeBackAreNotEncrypted) {
    expectEncryptionFailure("", keyFile, "an empty text cannot be encrypted");
    expectEncryptionFailure(std::string(MAX_PLAIN_SIZE + 1, 'm'), keyFile,
                            "the text has more than 32740 bytes");
}

TEST_F(DataDecryption, CallersOpensslErrorsStayAsTheyWere) {
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 42);
    const auto error = ERR_peek_last_error();
    expectFailure(replaced(60, "00"), keyFile, std::string(FALSE_TAG));
    expectText(KNOWN_TEXT, keyFile, KNOWN_PLAIN_TEXT);
    EXPECT_NE(encryptHexString("text", keyFile), "");
    EXPECT_EQ(ERR_get_error(), error);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST_F(DataDecryption, ThreadsDecryptSideBySide) {
    std::vector<std::string> results(8);
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (auto& result : results) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                result = decryptHexString(encryptHexString("round", keyFile), keyFile);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(results, std::vector<std::string>(8, "round"));
}
