#include "platform/certificate_backend/locked_directory.h"
#include "platform/posix/atomic_file.h"
#include "tests/support/temp_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>
#include <thread>

namespace {

unsigned int modeOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
}

} // namespace

class AtomicFile : public testing::Test {
protected:
    TempDirectory temporary;
    std::string directory = temporary.file("store");
};

TEST_F(AtomicFile, MakesItsDirectoriesForTheOwnerOnly) {
    const LockedDirectory lock(directory);
    EXPECT_EQ(modeOf(directory), 0700U);
    EXPECT_EQ(modeOf(installedFolder(directory)), 0700U);
    EXPECT_EQ(modeOf(requestsFolder(directory)), 0700U);
}

TEST_F(AtomicFile, WritesFilesForTheOwnerOnly) {
    makeDirectory(directory);
    writeFileAtomically(directory, "name", "content");
    EXPECT_EQ(modeOf(directory + "/name"), 0600U);
    EXPECT_EQ(readFile(directory, "name"), "content");
    EXPECT_EQ(listFiles(directory), std::vector<std::string>{"name"});
}

TEST_F(AtomicFile, ReplacesAFileByAnotherOne) {
    makeDirectory(directory);
    writeFileAtomically(directory, "name", "old");
    struct stat before = {};
    ASSERT_EQ(stat((directory + "/name").c_str(), &before), 0);
    writeFileAtomically(directory, "name", "new");
    struct stat after = {};
    ASSERT_EQ(stat((directory + "/name").c_str(), &after), 0);
    EXPECT_EQ(readFile(directory, "name"), "new");
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_nlink, 1U);
}

TEST_F(AtomicFile, KeepsTheOldFileWhenTheNewOneCannotBeWritten) {
    makeDirectory(directory);
    writeFileAtomically(directory, "name", "old");
    makeDirectory(directory + "/.new"); // stands where the new content would be written
    EXPECT_THROW(writeFileAtomically(directory, "name", "new"), std::system_error);
    EXPECT_EQ(readFile(directory, "name"), "old");
}

TEST_F(AtomicFile, LeavesNothingBehindWhenTheFinalNameIsTaken) {
    makeDirectory(directory);
    makeDirectory(directory + "/name");
    EXPECT_THROW(writeFileAtomically(directory, "name", "new"), std::system_error);
    EXPECT_FALSE(fileExists(directory, ".new"));
}

TEST_F(AtomicFile, ClearsAwayWhatACrashLeftBehind) {
    { const LockedDirectory lock(directory); }
    writeFile(installedFolder(directory) + "/.new", "half a key");
    writeFile(requestsFolder(directory) + "/.new", "half a key");
    const LockedDirectory lock(directory);
    EXPECT_FALSE(fileExists(installedFolder(directory), ".new"));
    EXPECT_FALSE(fileExists(requestsFolder(directory), ".new"));
}

TEST_F(AtomicFile, TellsWhetherThereWasAFileToRemove) {
    makeDirectory(directory);
    writeFileAtomically(directory, "name", "content");
    EXPECT_TRUE(removeFile(directory, "name"));
    EXPECT_FALSE(removeFile(directory, "name"));
    EXPECT_EQ(readFile(directory, "name"), std::nullopt);
    EXPECT_FALSE(fileExists(directory, "name"));
}

TEST_F(AtomicFile, FollowsNoSymbolicLink) {
    makeDirectory(directory);
    writeFile(temporary.file("outside"), "secret");
    ASSERT_EQ(symlink(temporary.file("outside").c_str(), (directory + "/name").c_str()), 0);
    EXPECT_THROW(static_cast<void>(readFile(directory, "name")), std::system_error);
    writeFileAtomically(directory, "name", "new");
    EXPECT_EQ(readFile(temporary.file("outside")), "secret");
    EXPECT_EQ(readFile(directory, "name"), "new");
}

TEST_F(AtomicFile, ReportsAMissingDirectoryAsAFaultOfTheMachine) {
    EXPECT_THROW(makeDirectory(directory + "/deeper"), std::system_error);
    EXPECT_THROW(static_cast<void>(lockDirectory(directory)), std::system_error);
    EXPECT_THROW(writeFileAtomically(directory, "name", "x"), std::system_error);
    EXPECT_THROW(static_cast<void>(removeFile(directory, "name")), std::system_error);
    EXPECT_THROW(static_cast<void>(listFiles(directory)), std::system_error);
}

TEST_F(AtomicFile, NamesStepAndPathOfAFault) {
    try {
        static_cast<void>(lockDirectory(directory));
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.what(),
                  "cannot open the directory " + directory + ": No such file or directory");
    }
}

TEST_F(AtomicFile, HoldsTheLockAloneAndAsLongAsItsOwnerLives) {
    makeDirectory(directory);
    const FileDescriptor other(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    {
        const FileDescriptor lock = lockDirectory(directory);
        EXPECT_NE(flock(other.get(), LOCK_SH | LOCK_NB), 0);
        EXPECT_EQ(errno, EWOULDBLOCK);
    }
    EXPECT_EQ(flock(other.get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(AtomicFile, GivesTheLockToOneThreadAtATime) {
    makeDirectory(directory);
    std::atomic<int> inside = 0;
    std::atomic<int> clashes = 0;
    std::atomic<int> turns = 0;
    const auto work = [&] {
        for (int i = 0; i < 200; ++i) {
            const FileDescriptor lock = lockDirectory(directory);
            clashes += inside.fetch_add(1) == 0 ? 0 : 1;
            ++turns;
            inside.fetch_sub(1);
        }
    };
    std::thread first(work);
    std::thread second(work);
    std::thread third(work);
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(clashes, 0);
    EXPECT_EQ(turns, 600);
}
