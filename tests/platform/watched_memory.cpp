#include "tests/platform/watched_memory.h"

#include <malloc.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t SKIPPED = 8;
constexpr std::size_t COMPARED = 16;

thread_local const std::vector<std::string>* gSecrets = nullptr;
thread_local int gTracesSeen = 0;

void inspect(void* block) {
    if (gSecrets == nullptr || block == nullptr) {
        return;
    }
    const bool holdsOne =
        std::any_of(gSecrets->begin(), gSecrets->end(), [&](const std::string& secret) {
            return ::memmem(block, ::malloc_usable_size(block), secret.data() + SKIPPED,
                            COMPARED) != nullptr;
        });
    gTracesSeen += holdsOne ? 1 : 0;
}

// Cleared, so that what an earlier owner left in the block is not taken for the new one's.
void* allocate(std::size_t size) {
    return std::calloc(1, size);
}

void release(void* block) {
    inspect(block);
    std::free(block);
}

void* allocateForOpenssl(std::size_t size, const char* /*file*/, int /*line*/) {
    return allocate(size);
}

void releaseForOpenssl(void* block, const char* /*file*/, int /*line*/) {
    release(block);
}

// Always moves, so that the old block is looked through.
void* moveForOpenssl(void* block, std::size_t size, const char* /*file*/, int /*line*/) {
    if (size == 0) {
        release(block);
        return nullptr;
    }
    void* moved = allocate(size);
    if (moved != nullptr && block != nullptr) {
        std::memcpy(moved, block, std::min(size, ::malloc_usable_size(block)));
        release(block);
    }
    return moved;
}

// Before OpenSSL's first allocation; later it would refuse.
const int gInstalled =
    CRYPTO_set_mem_functions(allocateForOpenssl, moveForOpenssl, releaseForOpenssl);

} // namespace

void* operator new(std::size_t size) {
    void* block = allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    release(block);
}

MemoryWatch::MemoryWatch(const std::vector<std::string>& secrets) {
    if (gInstalled != 1) {
        std::abort(); // nothing of OpenSSL's would be seen
    }
    gSecrets = &secrets;
    gTracesSeen = 0;
}

MemoryWatch::~MemoryWatch() {
    gSecrets = nullptr;
}

int MemoryWatch::tracesSeen() const {
    return gTracesSeen;
}
