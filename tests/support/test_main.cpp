// The main function of every test program.
//
// Tests write to the places that the daemon's fixed paths name. Outside the sandbox those belong to
// the machine, so a test program refuses to run there; listing its tests is always allowed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests) && std::getenv("SANDBOX") == nullptr) {
        (void)std::fprintf(stderr, "%s: run it as: scripts/sandbox %s\n", argv[0], argv[0]);
        return 2;
    }
    // As in the daemon: a connection that the other side has closed is a failed command.
    (void)std::signal(SIGPIPE, SIG_IGN);
    return RUN_ALL_TESTS();
}
