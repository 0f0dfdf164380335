#include "platform/certificate_backend/locked_directory.h"
#include "platform/certificate_backend/sha256.h"
#include "tests/support/temp_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

class BackendDirectory : public testing::Test {
protected:
    TempDirectory temporary;
    std::string path = temporary.file("kept");
};

TEST_F(BackendDirectory, IsMadeForTheOwnerOnly) {
    const LockedDirectory directory(path);
    EXPECT_EQ(directory.path(), path);
    for (const std::string& made :
         {path, installedFolder(path), path + "/previous", requestsFolder(path)}) {
        EXPECT_EQ(fileMode(made), 0700U) << made;
    }
}

TEST_F(BackendDirectory, IsLockedAsLongAsItLives) {
    { const LockedDirectory made(path); }
    const FileDescriptor other(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    {
        const LockedDirectory directory(path);
        EXPECT_NE(flock(other.get(), LOCK_EX | LOCK_NB), 0);
    }
    EXPECT_EQ(flock(other.get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(BackendDirectory, IsRefusedWithAFolderThatOthersMayWriteTo) {
    { const LockedDirectory made(path); }
    for (const std::string& folder :
         {path, installedFolder(path), path + "/previous", requestsFolder(path)}) {
        chmod(folder.c_str(), 0720);
        EXPECT_THROW(const LockedDirectory directory(path), std::runtime_error) << folder;
        chmod(folder.c_str(), 0700);
    }
    const LockedDirectory directory(path);
}

TEST_F(BackendDirectory, HoldsNothingThatACrashLeftBehind) {
    { const LockedDirectory made(path); }
    std::vector<std::string> leftovers;
    for (const std::string& folder :
         {installedFolder(path), path + "/previous", requestsFolder(path)}) {
        leftovers.push_back(folder + "/.new");
        leftovers.push_back(folder + "/.gone");
    }
    for (const std::string& leftover : leftovers) {
        writeFile(leftover, "half a key");
    }
    const LockedDirectory directory(path);
    for (const std::string& leftover : leftovers) {
        EXPECT_FALSE(fileExists(leftover)) << leftover;
    }
}

TEST(FileNames, AreReadableAndNeverLeaveTheDirectory) {
    for (const auto& [uri, name] : std::vector<std::pair<std::string, std::string>>{
             {"/redfish/v1/Managers/1/Certificates/1a2b",
              "+redfish+v1+Managers+1+Certificates+1a2b"},
             {"A-z_09", "A-z_09"},
             {"", ""},
             {"../../etc/shadow", "=2e=2e+=2e=2e+etc+shadow"},
             {"..", "=2e=2e"},
             {"/.new", "+=2enew"},
             {std::string("a\0b", 3), "a=00b"},
             {"%2e%2f \n\xff", "=252e=252f=20=0a=ff"},
         }) {
        EXPECT_EQ(fileNameOf(uri), name);
        EXPECT_EQ(uriOfFileName(name), uri);
    }
}

TEST(FileNames, OfNoUriAreTold) {
    for (const std::string& name : {std::string("a.b"), std::string("=4"), std::string("=zz"),
                                    std::string("=41"), fileNameOf(std::string(300, 'x'))}) {
        EXPECT_EQ(uriOfFileName(name), std::nullopt) << name;
    }
}

TEST(FileNames, DifferForDifferentUris) {
    EXPECT_NE(fileNameOf("/a/b"), fileNameOf("/a+b"));
    EXPECT_NE(fileNameOf("/a=2eb"), fileNameOf("/a.b"));
    EXPECT_NE(fileNameOf("/a~b"), fileNameOf("/a=7eb=20"));
}

TEST(FileNames, AreBoundedByTheDigestOfTheUri) {
    const std::string twoHundred = "/" + std::string(199, 'x');
    EXPECT_EQ(fileNameOf(twoHundred), "+" + std::string(199, 'x'));
    const std::string cut = "+" + std::string(99, 'x') + "~";
    EXPECT_EQ(fileNameOf(twoHundred + "y"), cut + sha256Hex(twoHundred + "y"));
    EXPECT_EQ(fileNameOf("/" + std::string(1 << 20, 'x')).size(), 100U + 1U + 64U);
    EXPECT_EQ(sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}
