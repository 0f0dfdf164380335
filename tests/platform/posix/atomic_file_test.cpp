#include "platform/posix/atomic_file.h"
#include "tests/platform/on_threads.h"
#include "tests/support/output_capture.h"
#include "tests/support/temp_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <system_error>

namespace {

constexpr std::chrono::milliseconds PATIENCE(60000);

ino_t inodeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_ino;
}

} // namespace

class AtomicFile : public testing::Test {
protected:
    TempDirectory temporary;
    std::string path = temporary.file("kept");
    Directory directory = openOrMakeDirectory(path);
};

TEST_F(AtomicFile, IsReadAndWrittenByItsOwnerOnly) {
    writeFileAtomically(directory, "name", "content");
    EXPECT_EQ(fileMode(path), 0700U);
    EXPECT_EQ(fileMode(path + "/name"), 0600U);
    EXPECT_EQ(readFile(directory, "name"), "content");
    EXPECT_EQ(listFiles(directory), std::vector<std::string>{"name"});
}

TEST_F(AtomicFile, IsReplacedByAnotherFileNotChanged) {
    writeFileAtomically(directory, "name", "old");
    const ino_t before = inodeOf(path + "/name");
    writeFileAtomically(directory, "name", "new");
    EXPECT_EQ(readFile(directory, "name"), "new");
    EXPECT_NE(inodeOf(path + "/name"), before);
}

TEST_F(AtomicFile, IsReadWholeUpToOneMebibyte) {
    for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 1048576U}) {
        writeFileAtomically(directory, "name", std::string(size, 'x'));
        EXPECT_EQ(readFile(directory, "name"), SecretText(size, 'x')) << size;
    }
    writeFileAtomically(directory, "name", std::string(1048577, 'x'));
    EXPECT_EQ(readFile(directory, "name"), SecretText(1048576, 'x'));
}

TEST_F(AtomicFile, StaysAsItWasWhenTheNewOneCannotBeWritten) {
    writeFileAtomically(directory, "name", "old");
    std::filesystem::create_directory(path +
                                      "/.new"); // stands where the new content would be written
    EXPECT_THROW(writeFileAtomically(directory, "name", "new"), std::system_error);
    EXPECT_EQ(readFile(directory, "name"), "old");
}

TEST_F(AtomicFile, LeavesNothingBehindWhenItsNameIsTaken) {
    std::filesystem::create_directory(path + "/name");
    EXPECT_THROW(writeFileAtomically(directory, "name", "new"), std::system_error);
    EXPECT_FALSE(fileExists(directory, ".new"));
}

TEST_F(AtomicFile, IsRemovedOnce) {
    writeFileAtomically(directory, "name", "content");
    EXPECT_TRUE(fileExists(directory, "name"));
    EXPECT_TRUE(removeFile(directory, "name"));
    EXPECT_FALSE(removeFile(directory, "name"));
    EXPECT_FALSE(fileExists(directory, "name"));
    EXPECT_EQ(readFile(directory, "name"), std::nullopt);
}

TEST_F(AtomicFile, IsOverwrittenBeforeItGoes) {
    writeFileAtomically(directory, "name", "a secret");
    const FileDescriptor file(open((path + "/name").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(removeFile(directory, "name"));
    EXPECT_EQ(readContent(file, 100), std::string(8, '\0'));
}

TEST_F(AtomicFile, IsNotOverwrittenUnderItsSecondName) {
    writeFileAtomically(directory, "name", "a secret");
    std::filesystem::create_hard_link(path + "/name", path + "/other");
    EXPECT_TRUE(removeFile(directory, "name"));
    EXPECT_EQ(readFile(directory, "other"), "a secret");
}

TEST_F(AtomicFile, IsKeptWhenItIsReplaced) {
    const Directory kept = openOrMakeFolder(directory, "kept");
    writeFileAtomically(directory, "name", "first");
    replaceFile(directory, "name", "second", kept);
    EXPECT_EQ(readFile(directory, "name"), "second");
    EXPECT_EQ(readFile(kept, "name"), "first");
    const FileDescriptor first(open((path + "/kept/name").c_str(), O_RDONLY | O_CLOEXEC));
    replaceFile(directory, "name", "third", kept);
    EXPECT_EQ(readFile(directory, "name"), "third");
    EXPECT_EQ(readFile(kept, "name"), "second");
    EXPECT_EQ(fileMode(path + "/kept/name"), 0600U);
    EXPECT_EQ(readContent(first, 100), std::string(5, '\0'));
    EXPECT_EQ(listFiles(kept).size(), 1U);
}

TEST_F(AtomicFile, StaysWhenItCannotBeKept) {
    const Directory kept = openOrMakeFolder(directory, "kept");
    writeFileAtomically(directory, "name", "old");
    std::filesystem::create_directories(path + "/kept/.gone/x"); // stands in the way
    writeFile(path + "/kept/name", "older");
    EXPECT_THROW(replaceFile(directory, "name", "new", kept), std::system_error);
    EXPECT_EQ(readFile(directory, "name"), "old");
    EXPECT_FALSE(fileExists(directory, ".new"));
}

TEST_F(AtomicFile, LeavesNothingOfAnInterruptedWriteOrRemoval) {
    for (const char* name : {".new", ".gone"}) {
        writeFile(path + "/" + name, "half a key");
        const FileDescriptor file(open((path + "/" + name).c_str(), O_RDONLY | O_CLOEXEC));
        removeLeftovers(directory);
        EXPECT_FALSE(fileExists(directory, name)) << name;
        EXPECT_EQ(readContent(file, 100), std::string(10, '\0')) << name;
    }
}

TEST_F(AtomicFile, IsNeverReachedThroughASymbolicLink) {
    writeFile(temporary.file("outside"), "secret");
    std::filesystem::create_symlink(temporary.file("outside"), path + "/name");
    EXPECT_THROW(static_cast<void>(readFile(directory, "name")), std::system_error);
    writeFileAtomically(directory, "name", "new");
    EXPECT_EQ(readFile(temporary.file("outside")), "secret");
    EXPECT_EQ(readFile(directory, "name"), "new");
    std::filesystem::create_symlink(temporary.file("outside"), path + "/.new");
    EXPECT_THROW(writeFileAtomically(directory, "name", "newer"), std::system_error);
    EXPECT_EQ(readFile(temporary.file("outside")), "secret");
}

TEST_F(AtomicFile, MakesADirectoryOnlyBelowOneThatIsThere) {
    for (const auto& make : std::vector<std::function<void()>>{
             [&] { static_cast<void>(openOrMakeDirectory(path + "/missing/deeper")); },
             [&] { static_cast<void>(openOrMakeFolder(directory, "missing/deeper")); }}) {
        try {
            make();
            ADD_FAILURE();
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.what(), "cannot make the directory " + path +
                                        "/missing/deeper: No such file or directory");
        }
    }
}

TEST_F(AtomicFile, IsNotKeptInADirectoryBehindALink) {
    std::filesystem::create_symlink(path, temporary.file("link"));
    EXPECT_THROW(static_cast<void>(openOrMakeDirectory(temporary.file("link"))), std::system_error);
}

TEST_F(AtomicFile, LockIsHeldAloneAndAsLongAsItsOwnerLives) {
    const FileDescriptor other(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    {
        const Directory locked = openOrMakeDirectory(path);
        lockDirectory(locked, PATIENCE);
        EXPECT_NE(flock(other.get(), LOCK_SH | LOCK_NB), 0);
        EXPECT_EQ(errno, EWOULDBLOCK);
    }
    EXPECT_EQ(flock(other.get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(AtomicFile, LockIsGivenToOneThreadAtATime) {
    std::atomic<int> inside = 0;
    std::atomic<int> clashes = 0;
    std::atomic<int> turns = 0;
    onThreads(3, [&](std::size_t /*thread*/) {
        for (int i = 0; i < 200; ++i) {
            const Directory locked = openOrMakeDirectory(path);
            lockDirectory(locked, PATIENCE);
            clashes += inside.fetch_add(1) == 0 ? 0 : 1;
            ++turns;
            inside.fetch_sub(1);
        }
    });
    EXPECT_EQ(clashes, 0);
    EXPECT_EQ(turns, 600);
}
