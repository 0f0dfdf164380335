// The configuration library over real files: what both functions return, and the exact lines on
// standard error.

#include "platform/configuration.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t MEBIBYTE = 1'048'576;

class Configuration : public testing::Test {
protected:
    void write(std::string_view text) const {
        writeFile(path, std::string(text));
    }

    // Both functions, with the limit that the service uses, give value and report nothing.
    void expectValue(const std::string& key, const std::string& value) const {
        const OutputCapture errors(2);
        std::string buffer(128, '~');
        EXPECT_EQ(getConfigValue(path, key, 128), value);
        EXPECT_EQ(getPropertyValue(path.c_str(), "=", key.c_str(), buffer.data(), 128), 0);
        EXPECT_STREQ(buffer.c_str(), value.c_str());
        EXPECT_EQ(errors.text(), "");
    }

    // Both functions find nothing, and each reports line, or nothing when that is empty.
    static void expectNothing(const std::string& file, const std::string& key,
                              const std::string& line) {
        const OutputCapture errors(2);
        std::string buffer(128, '~');
        EXPECT_EQ(getConfigValue(file, key, 128), "");
        EXPECT_EQ(errors.text(), line);
        EXPECT_NE(getPropertyValue(file.c_str(), "=", key.c_str(), buffer.data(), 128), 0);
        EXPECT_EQ(errors.text(), line + line);
        EXPECT_EQ(buffer, std::string(1, '\0') + std::string(127, '~'));
    }

    TempDirectory directory;
    std::string path = directory.file("service.conf");
};

} // namespace

TEST_F(Configuration, ReadsTheKeysOfAFile) {
    write("# The certificate service\r\n\r\nROOT_CA_FILE = /etc/ssl/root.pem \r\n"
          "LOG_FILE=/var/log/certificate.log\nLOG_LEVEL=\nGenerateResourceEvent=false");
    expectValue("ROOT_CA_FILE", "/etc/ssl/root.pem");
    expectValue("LOG_FILE", "/var/log/certificate.log");
    expectValue("LOG_LEVEL", "");
    expectValue("GenerateResourceEvent", "false");
    expectNothing(path, "LOG_FILE_BAK", "");
}

TEST_F(Configuration, ReadsTheFileAfreshAtEveryCall) {
    write("KEY=one\n");
    expectValue("KEY", "one");
    write("KEY=two\n");
    expectValue("KEY", "two");
}

TEST_F(Configuration, ValueOf127CharactersFits) {
    const std::string value(127, 'v');
    write("KEY=" + value + "\n");
    expectValue("KEY", value);
}

TEST_F(Configuration, ValueOf128CharactersIsReportedAndIgnored) {
    write("KEY=" + std::string(128, 'v') + "\nKEY=short\n");
    expectNothing(path, "KEY",
                  "service_configuration: " + path +
                      ": the value of KEY has 128 characters, more than 127, and is ignored\n");
}

TEST_F(Configuration, LimitIsTheCallersOwn) {
    write("KEY=four\nEMPTY=\n");
    char buffer[5] = {'~', '~', '~', '~', '~'};
    EXPECT_EQ(getConfigValue(path, "KEY", 5), "four");
    EXPECT_EQ(getConfigValue(path, "KEY", INT_MAX), "four");
    EXPECT_EQ(getPropertyValue(path.c_str(), "=", "KEY", buffer, 5), 0);
    EXPECT_STREQ(buffer, "four");
    EXPECT_EQ(getPropertyValue(path.c_str(), "=", "EMPTY", buffer, 1), 0);
    EXPECT_STREQ(buffer, "");

    const OutputCapture errors(2);
    EXPECT_EQ(getConfigValue(path, "KEY", 4), "");
    EXPECT_EQ(errors.text(),
              "service_configuration: " + path +
                  ": the value of KEY has 4 characters, more than 3, and is ignored\n");
}

TEST_F(Configuration, WritesNothingBehindTheBuffer) {
    write("KEY=four\n");
    char buffer[6] = {'~', '~', '~', '~', '~', '~'};
    EXPECT_EQ(getPropertyValue(path.c_str(), "=", "KEY", buffer, 5), 0);
    EXPECT_EQ(std::string_view(buffer, 6), std::string_view("four\0~", 6));
}

TEST_F(Configuration, NulInTheValueIsReportedAndIgnored) {
    using namespace std::string_view_literals;
    write("KEY=a\0b\nNEXT=\0\nLAST=value\n"sv);
    expectNothing(path, "KEY",
                  "service_configuration: " + path +
                      ": the value of KEY holds a NUL character and is ignored\n");
    expectNothing(path, "NEXT",
                  "service_configuration: " + path +
                      ": the value of NEXT holds a NUL character and is ignored\n");
    expectValue("LAST", "value");
}

TEST_F(Configuration, OtherSeparatorsAreTaken) {
    write("A=B:C\nA:D\n");
    char buffer[128] = "";
    EXPECT_EQ(getPropertyValue(path.c_str(), ":", "A", buffer, 128), 0);
    EXPECT_STREQ(buffer, "D");
    EXPECT_NE(getPropertyValue(path.c_str(), "", "A", buffer, 128), 0);
    EXPECT_STREQ(buffer, "");
}

TEST_F(Configuration, FileThatIsNotThereHoldsNoKeys) {
    expectNothing(path, "KEY", "");
    expectNothing(path + "/below", "KEY", "");
    write("KEY=value\n");
    expectNothing(path + "/below-a-file", "KEY", "");
    expectNothing("", "KEY", "");
}

TEST_F(Configuration, PathIsNotCutAtANul) {
    write("KEY=value\n");
    EXPECT_EQ(getConfigValue(path + std::string(1, '\0') + "x", "KEY", 128), "");
    EXPECT_EQ(getConfigValue(path, "KEY" + std::string(1, '\0'), 128), "");
}

TEST_F(Configuration, DirectoryIsReported) {
    expectNothing(directory.path(), "KEY",
                  "service_configuration: " + directory.path() +
                      ": cannot be read: Not a regular file\n");
}

TEST_F(Configuration, FifoIsReportedAtOnce) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    expectNothing(path, "KEY",
                  "service_configuration: " + path + ": cannot be read: Not a regular file\n");
}

TEST_F(Configuration, FileThatCannotBeOpenedIsReported) {
    std::filesystem::create_symlink(path, path);
    expectNothing(path, "KEY",
                  "service_configuration: " + path +
                      ": cannot be read: Too many levels of symbolic links\n");
}

TEST_F(Configuration, FileOfOneMebibyteIsRead) {
    const std::string line = "\nKEY=value\n";
    write(std::string(MEBIBYTE - line.size(), '#') + line);
    expectValue("KEY", "value");
}

TEST_F(Configuration, LargerFileIsReported) {
    const std::string line = "KEY=value\n";
    write(line + std::string(MEBIBYTE - line.size() + 1, '#'));
    expectNothing(path, "KEY",
                  "service_configuration: " + path + ": cannot be read: File too large\n");
}

TEST_F(Configuration, NullPointersAndSizesBelowOneFindNothing) {
    write("KEY=value\nEMPTY=\n");
    const char* file = path.c_str();
    char buffer[128] = "before";
    EXPECT_EQ(getConfigValue(path, "KEY", 0), "");
    EXPECT_EQ(getConfigValue(path, "KEY", INT_MIN), "");
    EXPECT_NE(getPropertyValue(file, "=", "EMPTY", buffer, 0), 0);
    EXPECT_NE(getPropertyValue(file, "=", "KEY", buffer, -1), 0);
    EXPECT_NE(getPropertyValue(file, "=", "KEY", nullptr, 128), 0);
    EXPECT_STREQ(buffer, "before");

    EXPECT_NE(getPropertyValue(nullptr, "=", "KEY", buffer, 128), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_NE(getPropertyValue(file, nullptr, "KEY", buffer, 128), 0);
    EXPECT_NE(getPropertyValue(file, "=", nullptr, buffer, 128), 0);
    EXPECT_STREQ(buffer, "");
}
