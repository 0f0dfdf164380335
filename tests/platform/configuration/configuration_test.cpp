// The configuration library over real files: what both functions return, and the exact lines on
// standard error.

#include "platform/configuration.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <filesystem>

using namespace std::string_literals;

class Configuration : public testing::Test {
protected:
    void write(const std::string& text) const {
        writeFile(path, text);
    }

    // Both functions, with the limit that the service uses, give the value and report nothing.
    void expectValue(const std::string& key, const std::string& value) const {
        const OutputCapture errors(2);
        std::string buffer(128, '~');
        EXPECT_EQ(getConfigValue(path, key, 128), value);
        EXPECT_EQ(getPropertyValue(path.c_str(), "=", key.c_str(), buffer.data(), 128), 0);
        EXPECT_STREQ(buffer.c_str(), value.c_str());
        EXPECT_EQ(errors.text(), "");
    }

    // Both functions find nothing, and each reports the fault of the file, if there is one.
    static void expectNothing(const std::string& file, const std::string& key,
                              const std::string& fault = "") {
        const std::string line =
            fault.empty() ? "" : "service_configuration: " + file + ": " + fault + "\n";
        const OutputCapture errors(2);
        std::string buffer(128, '~');
        EXPECT_EQ(getConfigValue(file, key, 128), "");
        EXPECT_EQ(errors.text(), line);
        EXPECT_NE(getPropertyValue(file.c_str(), "=", key.c_str(), buffer.data(), 128), 0);
        EXPECT_EQ(errors.text(), line + line);
        EXPECT_EQ(buffer, "\0"s + std::string(127, '~'));
    }

    TempDirectory directory;
    std::string path = directory.file("service.conf");
};

TEST_F(Configuration, IsReadAfreshAtEveryCall) {
    write("# The certificate service\r\n\r\nROOT_CA_FILE = /etc/ssl/root.pem \r\nLOG_LEVEL=\n"
          "GenerateResourceEvent=false");
    expectValue("ROOT_CA_FILE", "/etc/ssl/root.pem");
    expectValue("LOG_LEVEL", "");
    expectValue("GenerateResourceEvent", "false");
    expectNothing(path, "LOG_FILE_BAK");
    write("LOG_LEVEL=two\n");
    expectValue("LOG_LEVEL", "two");
}

TEST_F(Configuration, ValueThatDoesNotFitIsReportedAndIgnored) {
    write("KEY=" + std::string(127, 'v') + "\n");
    expectValue("KEY", std::string(127, 'v'));
    write("KEY=" + std::string(128, 'v') + "\nKEY=short\n");
    expectNothing(path, "KEY",
                  "the value of KEY has 128 characters, more than 127, and is ignored");
}

TEST_F(Configuration, LimitIsTheCallersAndNothingIsWrittenBehindIt) {
    write("KEY=four\nEMPTY=\n");
    std::string buffer(6, '~');
    EXPECT_EQ(getConfigValue(path, "KEY", 5), "four");
    EXPECT_EQ(getConfigValue(path, "KEY", INT_MAX), "four");
    EXPECT_EQ(getPropertyValue(path.c_str(), "=", "KEY", buffer.data(), 5), 0);
    EXPECT_EQ(buffer, "four\0~"s);
    EXPECT_EQ(getPropertyValue(path.c_str(), "=", "EMPTY", buffer.data(), 1), 0);
    EXPECT_EQ(buffer, "\0our\0~"s);

    const OutputCapture errors(2);
    EXPECT_EQ(getConfigValue(path, "KEY", 4), "");
    EXPECT_EQ(errors.text(),
              "service_configuration: " + path +
                  ": the value of KEY has 4 characters, more than 3, and is ignored\n");
}

TEST_F(Configuration, ValueWithANulIsReportedAndIgnored) {
    write("KEY=a\0b\nNEXT=\0\nLAST=value\n"s);
    expectNothing(path, "KEY", "the value of KEY holds a NUL character and is ignored");
    expectNothing(path, "NEXT", "the value of NEXT holds a NUL character and is ignored");
    expectValue("LAST", "value");
}

TEST_F(Configuration, SeparatorIsTheCallers) {
    write("A=B:C\nA:D\n");
    char buffer[128] = "";
    EXPECT_EQ(getPropertyValue(path.c_str(), ":", "A", buffer, 128), 0);
    EXPECT_STREQ(buffer, "D");
    EXPECT_NE(getPropertyValue(path.c_str(), "", "A", buffer, 128), 0);
    EXPECT_STREQ(buffer, "");
}

TEST_F(Configuration, FileThatIsNotThereHoldsNoKeys) {
    expectNothing(path, "KEY");
    expectNothing(path + "/below", "KEY");
    write("KEY=value\n");
    expectNothing(path + "/below-a-file", "KEY");
    expectNothing("", "KEY");
}

TEST_F(Configuration, PathAndKeyAreNotCutAtANul) {
    write("KEY=value\n");
    EXPECT_EQ(getConfigValue(path + "\0x"s, "KEY", 128), "");
    EXPECT_EQ(getConfigValue(path, "KEY\0"s, 128), "");
}

TEST_F(Configuration, FileThatCannotBeReadIsReportedAtOnce) {
    const std::string fifo = directory.file("fifo");
    const std::string loop = directory.file("loop");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_symlink(loop, loop);
    expectNothing(directory.path(), "KEY", "cannot be read: Not a regular file");
    expectNothing(fifo, "KEY", "cannot be read: Not a regular file");
    expectNothing(loop, "KEY", "cannot be read: Too many levels of symbolic links");
}

TEST_F(Configuration, FileMayHoldOneMebibyte) {
    const std::string line = "\nKEY=value\n";
    const std::string filler(1'048'576 - line.size(), '#');
    write(filler + line);
    expectValue("KEY", "value");
    write(line + filler + "#");
    expectNothing(path, "KEY", "cannot be read: File too large");
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
