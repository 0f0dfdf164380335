// The challenge password and its key file.

#include "frontend/exchange/password_key.h"
#include "platform/data_decryption.h"
#include "tests/frontend/front_end_errors.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <filesystem>

namespace {

const std::string KEY_FILE = "/var/nginx/pkey.tmp";

TEST(ChallengePassword, TheDaemonsLibraryDecryptsIt) {
    const std::string cipherText = encryptChallengePassword("hunter2");
    EXPECT_EQ(cipherText.find("hunter2"), std::string::npos);
    EXPECT_EQ(decryptHexString(cipherText, KEY_FILE), "hunter2");
}

TEST(ChallengePassword, ItsKeyFileIsMadeOnceAndReadableByItsGroup) {
    (void)encryptChallengePassword("a");
    EXPECT_EQ(readFile(KEY_FILE).size(), 32U);
    EXPECT_EQ(fileMode(KEY_FILE), 0640U);
    EXPECT_EQ(listDirectory("/var/nginx"), std::vector<std::string>{"pkey.tmp"});
    const std::string key = readFile(KEY_FILE);
    (void)encryptChallengePassword("b");
    EXPECT_EQ(readFile(KEY_FILE), key);
}

TEST(ChallengePassword, AnUnusableKeyFileIsReportedAndLeftAlone) {
    writeFile(KEY_FILE, "short");
    const OutputCapture capture(2);
    const FrontEndError error = errorOf([] { (void)encryptChallengePassword("a"); });
    EXPECT_STREQ(error.what(), "/var/nginx/pkey.tmp: the challenge password cannot be encrypted "
                               "with it.");
    EXPECT_EQ(error.kind, FailureKind::LOCAL_FILE);
    EXPECT_EQ(readFile(KEY_FILE), "short");
}

TEST(ChallengePassword, AKeyFileThatCannotBeMadeIsReported) {
    std::filesystem::remove_all("/var/nginx");
    const FrontEndError error = errorOf([] { (void)encryptChallengePassword("a"); });
    EXPECT_STREQ(error.what(), "/var/nginx/pkey.tmp: cannot be made: No such file or directory.");
    std::filesystem::create_directory("/var/nginx");
}

} // namespace
