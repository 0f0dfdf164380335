#include "frontend/exchange/interrupt.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void noteInterrupt(int /*signal*/) {
    gInterrupted = 1;
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
    return gInterrupted != 0;
}
