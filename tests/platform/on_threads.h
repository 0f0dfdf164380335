#pragma once

#include <thread>
#include <vector>

// Calls work(0), work(1), ... at the same time, each on a thread of its own, and waits for their
// end.
template <typename Work>
void onThreads(std::size_t count, Work work) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
