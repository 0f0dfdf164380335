#pragma once

// Traces of secrets in freed memory. A program that links this has its own operator delete, and
// OpenSSL frees by its means too: every block is looked through before it goes back to the heap.

#include <string>
#include <vector>

// Watches for the time of a scope, on the thread that made it. Meanwhile nothing else that holds
// one of the texts may be freed.
class MemoryWatch {
public:
    // Each text has at least 24 characters, and lives as long as the watch. Its middle is looked
    // for, because a cleared string has lost its first character only.
    explicit MemoryWatch(const std::vector<std::string>& secrets);
    ~MemoryWatch();
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;

    // The freed blocks that held one of the texts.
    [[nodiscard]] int tracesSeen() const;
};
