#pragma once

// Counts the heap of the program that it is linked into, whoever takes it: malloc is replaced. A
// block counts with what malloc really gives for it.

#include <cstddef>
#include <functional>

struct HeapUse {
    double peak = 0; // bytes in use at the highest, above what was in use before
    double kept = 0; // bytes still in use at the end, above what was in use before
};

// What the call takes. No other thread may take or give back memory meanwhile.
[[nodiscard]] HeapUse heapUseOf(const std::function<void()>& call);
