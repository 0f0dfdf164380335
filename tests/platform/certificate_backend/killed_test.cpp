// The process killed before and after every file-system call of an operation in turn: what is on
// disk then, and that the next process works without help.

#include "platform/certificate_backend/locked_directory.h"
#include "tests/platform/certificate_backend/backend_fixture.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <optional>
#include <set>

namespace {

// A process of its own for the work, stopped before it begins.
template <typename Work>
pid_t startTraced(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        static_cast<void>(raise(SIGSTOP));
        work();
        _exit(0);
    }
    return child;
}

// The calls that touch the file system. Some have an older form that newer machines do not know.
const std::map<std::uint64_t, std::string> FILE_CALLS = {
    {SYS_openat, "open"},     {SYS_close, "close"},      {SYS_flock, "lock"},
    {SYS_write, "write"},     {SYS_fsync, "fsync"},      {SYS_renameat, "rename"},
    {SYS_unlinkat, "unlink"}, {SYS_renameat2, "rename"}, {SYS_mkdirat, "mkdir"},
    {SYS_linkat, "link"},     {SYS_read, "read"},        {SYS_getdents64, "list"},
    {SYS_newfstatat, "stat"},
#ifdef SYS_mkdir
    {SYS_open, "open"},       {SYS_unlink, "unlink"},    {SYS_mkdir, "mkdir"},
    {SYS_rename, "rename"},
#endif
};

// One stop of a traced process, before or after a call that touches the file system.
struct FileCallStop {
    std::string call;
    bool before = false;
};

// Lets the process run to its next such stop; nothing when it has ended.
std::optional<FileCallStop> nextFileCall(pid_t child, std::string& current) {
    int status = 0;
    while (true) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
        if (!WIFSTOPPED(status)) {
            EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
            return std::nullopt;
        }
        __ptrace_syscall_info info = {};
        ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
        const bool before = info.op == PTRACE_SYSCALL_INFO_ENTRY;
        if (before) {
            const auto found = FILE_CALLS.find(info.entry.nr);
            current = found == FILE_CALLS.end() ? "" : found->second;
        }
        if (!current.empty()) {
            return FileCallStop{current, before};
        }
    }
}

void waitForStart(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
}

// Runs the work in a process of its own and kills it at its stop of that number. True when it was
// killed, false when it came to its end.
template <typename Work>
bool killedAt(int stop, Work work) {
    const pid_t child = startTraced(work);
    waitForStart(child);
    std::string current;
    for (int i = 0; i < stop; ++i) {
        if (!nextFileCall(child, current)) {
            return false;
        }
    }
    int status = 0;
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    return true;
}

// The work's calls that change or flush something, in order.
template <typename Work>
std::vector<std::string> changingCalls(Work work) {
    const pid_t child = startTraced(work);
    waitForStart(child);
    const std::set<std::string> changing = {"write", "fsync", "rename", "unlink", "mkdir", "link"};
    std::vector<std::string> calls;
    std::string current;
    while (const std::optional<FileCallStop> stop = nextFileCall(child, current)) {
        if (stop->before && changing.count(stop->call) > 0) {
            calls.push_back(stop->call);
        }
    }
    return calls;
}

} // namespace

using KilledBackend = CertificateBackend;

TEST_F(KilledBackend, LeavesTheOldPairOrTheNewOneInAReplacement) {
    const std::string old = textOf(makeSelfSigned());
    const std::string next = textOf(makeSelfSigned());
    ASSERT_EQ(create(old).code, 200);
    int oldStayed = 0;
    int newCame = 0;
    for (int stop = 1; killedAt(stop, [&] { static_cast<void>(replace(next)); }); ++stop) {
        const std::string left = installedText();
        EXPECT_TRUE(left == old || left == next) << "stop " << stop;
        (left == old ? oldStayed : newCame) += 1;
        EXPECT_EQ(replace(old).code, 200) << "stop " << stop;
        EXPECT_EQ(filesIn("installed").size(), 1U) << "stop " << stop;
    }
    EXPECT_EQ(installedText(), next);
    EXPECT_GT(oldStayed, 10);
    EXPECT_GT(newCame, 1);
}

TEST_F(KilledBackend, FlushesAFileBeforeItHasItsNameAndTheDirectoryAfterwards) {
    const std::string next = textOf(makeSelfSigned());
    const std::string last = textOf(makeSelfSigned());
    ASSERT_EQ(create(textOf(makeSelfSigned())).code, 200);
    using Calls = std::vector<std::string>;
    const auto joined = [](Calls first, const Calls& then) {
        first.insert(first.end(), then.begin(), then.end());
        return first;
    };
    const Calls removal = {"rename", "write", "fsync", "unlink", "fsync"};
    const Calls keepingAndNaming = {"link", "fsync", "rename", "fsync"};
    const Calls writing = {"write", "fsync"};
    EXPECT_EQ(changingCalls([&] { static_cast<void>(create(next, "PEM", IDENTITIES, "2")); }),
              joined(writing, {"rename", "fsync"}));
    EXPECT_EQ(changingCalls([&] { static_cast<void>(replace(next)); }),
              joined(writing, keepingAndNaming));
    EXPECT_EQ(changingCalls([&] { static_cast<void>(replace(last)); }),
              joined(joined(writing, removal), keepingAndNaming));
    EXPECT_EQ(changingCalls([&] { static_cast<void>(remove(IDENTITY)); }),
              joined(removal, removal));
}

TEST_F(KilledBackend, KeepsThePairBeforeOrNoneInAReplacement) {
    const std::string first = textOf(makeSelfSigned());
    const std::string second = textOf(makeSelfSigned());
    const std::string third = textOf(makeSelfSigned());
    const std::string kept = surroundings.directory + "/previous/" + fileNameOf(IDENTITY) + ".pem";
    ASSERT_EQ(create(first).code, 200);
    ASSERT_EQ(replace(second).code, 200);
    std::set<std::string> seen;
    for (int stop = 1; killedAt(stop, [&] { static_cast<void>(replace(third)); }); ++stop) {
        const std::string left = readFileIfAny(kept);
        seen.insert(left);
        EXPECT_TRUE(left.empty() || left == first || left == second) << "stop " << stop;
        ASSERT_EQ(remove(IDENTITY).code, 200);
        EXPECT_FALSE(fileExists(kept)) << "stop " << stop;
        ASSERT_EQ(create(first).code, 200);
        ASSERT_EQ(replace(second).code, 200);
    }
    EXPECT_EQ(seen.size(), 3U);
}

TEST_F(KilledBackend, KeepsTheKeyOfARequestUntilItsCertificateIsInstalled) {
    const TestCertificate authority = makeAuthority();
    const CSRResult request =
        generateCsr(surroundings, {IDENTITIES, 0, {}, {{"CommonName", "bmc"}}});
    const std::string certificate = signRequest(request.csr, authority);
    const std::string keyFile = filesIn("requests").at(0);
    const std::string kept = readFile(surroundings.directory + "/requests/" + keyFile);
    const std::string key = kept.substr(kept.find("-----BEGIN"));
    int before = 0;
    int after = 0;
    for (int stop = 1; killedAt(stop, [&] { static_cast<void>(create(certificate)); }); ++stop) {
        const CreateCertResult again = create(certificate);
        (again.code == 200 ? before : after) += 1;
        EXPECT_TRUE(again.code == 200 || again.code == 409) << "stop " << stop;
        EXPECT_EQ(installedText(), key + certificate) << "stop " << stop;
        EXPECT_EQ(filesIn("installed").size(), 1U) << "stop " << stop;
        EXPECT_EQ(remove(IDENTITY).code, 200);
        writeFile(surroundings.directory + "/requests/" + keyFile, kept);
    }
    EXPECT_GT(before, 10);
    EXPECT_GT(after, 1);
}

TEST_F(KilledBackend, LeavesACertificateWholeOrGoneInADeletion) {
    const std::string uri = std::string(TRUSTED) + "/1";
    const std::string certificate = makeAuthority().certificate;
    ASSERT_EQ(create(certificate, "PEM", TRUSTED).code, 200);
    int gone = 0;
    for (int stop = 1; killedAt(stop, [&] { static_cast<void>(remove(uri)); }); ++stop) {
        gone += create(certificate, "PEM", TRUSTED).code == 200 ? 1 : 0;
        EXPECT_EQ(installedText(uri), certificate) << "stop " << stop;
    }
    EXPECT_GT(gone, 1);
    EXPECT_EQ(remove(uri).code, 400);
}

TEST_F(KilledBackend, StartsInADirectoryThatWasHalfMade) {
    const std::string uri = std::string(TRUSTED) + "/1";
    const std::string certificate = makeAuthority().certificate;
    const auto creation = [&] { static_cast<void>(create(certificate, "PEM", TRUSTED)); };
    for (int stop = 1; killedAt(stop, creation); ++stop) {
        EXPECT_NE(create(certificate, "PEM", TRUSTED).code, 500) << "stop " << stop;
        EXPECT_EQ(installedText(uri), certificate) << "stop " << stop;
        std::filesystem::remove_all(surroundings.directory);
    }
}
