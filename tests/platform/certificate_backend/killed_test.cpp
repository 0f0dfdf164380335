// The process killed before and after every system call of an operation in turn: what is on disk
// then, and that the next process works without help.

#include <csignal>
#include <filesystem>
#include <map>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/platform/certificate_backend/backend_fixture.h"
#include "tests/support/certificates.h"

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

// Runs the work in a process of its own and kills it at its stop of that number: each system call
// has one stop before it and one after it. True when it was killed, false when it came to its end.
template <typename Work>
bool killedAt(int stop, Work work) {
    const pid_t child = startTraced(work);
    int status = 0;
    waitpid(child, &status, 0);
    for (int i = 0; i < stop && WIFSTOPPED(status); ++i) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    if (!WIFSTOPPED(status)) {
        EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
        return false;
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    return true;
}

// The work's system calls that change or flush something, in order.
template <typename Work>
std::vector<std::string> changingCalls(Work work) {
    const std::map<std::uint64_t, std::string> names = {
        {SYS_write, "write"},         {SYS_fsync, "fsync"},        {SYS_renameat, "rename"},
        {SYS_renameat2, "rename"},    {SYS_unlinkat, "unlink"},    {SYS_mkdirat, "mkdir"},
        {SYS_ftruncate, "ftruncate"}, {SYS_fdatasync, "fdatasync"}};
    std::vector<std::string> calls;
    const pid_t child = startTraced(work);
    int status = 0;
    waitpid(child, &status, 0);
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);
    while (WIFSTOPPED(status)) {
        __ptrace_syscall_info info = {};
        ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY && names.count(info.entry.nr) > 0) {
            calls.push_back(names.at(info.entry.nr));
        }
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    return calls;
}

} // namespace

using KilledBackend = CertificateBackend;

TEST_F(KilledBackend, LeavesTheOldPairOrTheNewOneInAReplacement) {
    const std::string uri = std::string(IDENTITIES) + "/1";
    const TestCertificate one = makeSelfSigned();
    const TestCertificate two = makeSelfSigned();
    const std::string old = one.privateKey + one.certificate;
    const std::string next = two.privateKey + two.certificate;
    ASSERT_EQ(create(old).code, 200);
    int oldStayed = 0;
    int newCame = 0;
    for (int stop = 1; killedAt(stop, [&] { static_cast<void>(replace(next)); }); ++stop) {
        const std::string left = installedText(uri);
        EXPECT_TRUE(left == old || left == next) << "stop " << stop;
        (left == old ? oldStayed : newCame) += 1;
        EXPECT_EQ(replace(old).code, 200) << "stop " << stop;
        EXPECT_EQ(filesIn("installed").size(), 1U) << "stop " << stop;
    }
    EXPECT_EQ(installedText(uri), next);
    EXPECT_GT(oldStayed, 10);
    EXPECT_GT(newCame, 1);
}

TEST_F(KilledBackend, FlushesAFileBeforeItHasItsNameAndTheDirectoryAfterwards) {
    const TestCertificate one = makeSelfSigned();
    const TestCertificate two = makeSelfSigned();
    ASSERT_EQ(create(one.privateKey + one.certificate).code, 200);
    EXPECT_EQ(changingCalls([&] { static_cast<void>(replace(two.privateKey + two.certificate)); }),
              (std::vector<std::string>{"write", "fsync", "rename", "fsync"}));
    EXPECT_EQ(changingCalls([&] {
                  static_cast<void>(uninstallCertificate(settings, std::string(IDENTITIES) + "/1"));
              }),
              (std::vector<std::string>{"unlink", "fsync"}));
}

TEST_F(KilledBackend, KeepsTheKeyOfARequestUntilItsCertificateIsInstalled) {
    const TestCertificate authority = makeAuthority();
    const CSRResult request =
        makeSigningRequest(settings, {IDENTITIES, 0, {}, {{"CommonName", "bmc"}}});
    const std::string certificate = signRequest(request.csr, authority);
    const std::string keyFile = filesIn("requests").at(0);
    const std::string key = readFile(settings.directory + "/requests/" + keyFile);
    int before = 0;
    int after = 0;
    for (int stop = 1; killedAt(stop, [&] { static_cast<void>(create(certificate)); }); ++stop) {
        const std::string uri = std::string(IDENTITIES) + "/1";
        const CreateCertResult again = create(certificate);
        (again.code == 200 ? before : after) += 1;
        EXPECT_TRUE(again.code == 200 || again.code == 409) << "stop " << stop;
        EXPECT_EQ(installedText(uri), key + certificate) << "stop " << stop;
        EXPECT_EQ(filesIn("installed").size(), 1U) << "stop " << stop;
        EXPECT_EQ(uninstallCertificate(settings, uri).code, 200);
        writeFile(settings.directory + "/requests/" + keyFile, key);
    }
    EXPECT_GT(before, 10);
    EXPECT_GT(after, 1);
}

TEST_F(KilledBackend, LeavesACertificateWholeOrGoneInADeletion) {
    const std::string uri = std::string(TRUSTED) + "/1";
    const std::string certificate = makeAuthority().certificate;
    ASSERT_EQ(create(certificate, "PEM", TRUSTED).code, 200);
    int gone = 0;
    for (int stop = 1;
         killedAt(stop, [&] { static_cast<void>(uninstallCertificate(settings, uri)); }); ++stop) {
        gone += create(certificate, "PEM", TRUSTED).code == 200 ? 1 : 0;
        EXPECT_EQ(installedText(uri), certificate) << "stop " << stop;
    }
    EXPECT_GT(gone, 1);
    EXPECT_EQ(uninstallCertificate(settings, uri).code, 400);
}

TEST_F(KilledBackend, StartsInADirectoryThatWasHalfMade) {
    const std::string uri = std::string(TRUSTED) + "/1";
    const std::string certificate = makeAuthority().certificate;
    const auto creation = [&] { static_cast<void>(create(certificate, "PEM", TRUSTED)); };
    for (int stop = 1; killedAt(stop, creation); ++stop) {
        EXPECT_NE(create(certificate, "PEM", TRUSTED).code, 500) << "stop " << stop;
        EXPECT_EQ(installedText(uri), certificate) << "stop " << stop;
        std::filesystem::remove_all(settings.directory);
    }
}
