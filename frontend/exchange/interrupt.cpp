#include "frontend/exchange/interrupt.h"

#include <atomic>
#include <csignal>

namespace {

// Read on any thread, set by whichever one takes the signal.
std::atomic<bool> gInterrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may not wait for a lock");

void noteInterrupt(int /*signal*/) {
    gInterrupted = true;
}

} // namespace

void installInterruptHandler() {
    struct sigaction action {};
    action.sa_handler = noteInterrupt;
    (void)sigemptyset(&action.sa_mask);
    (void)sigaction(SIGINT, &action, nullptr);
    (void)sigaction(SIGTERM, &action, nullptr);
    (void)std::signal(SIGPIPE, SIG_IGN);
}

bool wasInterrupted() {
    return gInterrupted;
}
