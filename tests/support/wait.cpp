// Waiting by asking again.

#include "tests/support/wait.h"

#include <chrono>
#include <thread>

bool waitUntil(const std::function<bool()>& question, double seconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (!question()) {
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}
