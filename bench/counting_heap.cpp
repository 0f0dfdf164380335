#include "bench/counting_heap.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>

// glibc's own, which stay reachable under these names.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
}

namespace {

std::atomic<std::ptrdiff_t> gInUse = 0;
std::atomic<std::ptrdiff_t> gHighest = 0;

void* counted(void* block) {
    gInUse += static_cast<std::ptrdiff_t>(malloc_usable_size(block));
    gHighest = std::max(gHighest.load(), gInUse.load());
    return block;
}

void discount(void* block) {
    gInUse -= static_cast<std::ptrdiff_t>(malloc_usable_size(block));
}

} // namespace

extern "C" {

void* malloc(std::size_t size) noexcept {
    return counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) noexcept {
    const auto before = static_cast<std::ptrdiff_t>(malloc_usable_size(block));
    void* const moved = __libc_realloc(block, size);
    if (moved != nullptr || size == 0) {
        gInUse -= before;
        (void)counted(moved);
    }
    return moved;
}

void free(void* block) noexcept {
    discount(block);
    __libc_free(block);
}

} // extern "C"

HeapUse heapUseOf(const std::function<void()>& call) {
    const std::ptrdiff_t before = gInUse;
    gHighest = before;
    call();
    return {static_cast<double>(gHighest - before), static_cast<double>(gInUse - before)};
}
