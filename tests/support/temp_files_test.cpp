// Temporary folders and plain file access.

#include "tests/support/temp_files.h"

#include <gtest/gtest.h>

TEST(TempFiles, FolderGoesAwayWithItsContent) {
    std::string path;
    {
        const TempDirectory directory;
        path = directory.path();
        writeFile(directory.file("a/b"), "text");
        EXPECT_EQ(readFile(directory.file("a/b")), "text");
    }
    EXPECT_FALSE(fileExists(path));
}

TEST(TempFiles, ContentIsKeptByteForByte) {
    const TempDirectory directory;
    const std::string content("one\r\n\0two", 9);
    writeFile(directory.file("f"), "longer than the new content");
    writeFile(directory.file("f"), content);
    appendFile(directory.file("f"), "\nthree");
    EXPECT_EQ(readFile(directory.file("f")), content + "\nthree");
    EXPECT_EQ(listDirectory(directory.path()), std::vector<std::string>{"f"});
    EXPECT_THROW((void)readFile(directory.file("g")), std::runtime_error);
    EXPECT_EQ(readFileIfAny(directory.file("g")), "");
}

TEST(TempFiles, LinesAreSplitWithAndWithoutALastLineEnd) {
    const std::vector<std::string> lines{"a", "", "b"};
    EXPECT_EQ(splitLines("a\n\nb\n"), lines);
    EXPECT_EQ(splitLines("a\n\nb"), lines);
    EXPECT_TRUE(splitLines("").empty());
}
