// Operators new and delete of a program that handles secrets: every block is overwritten when it is
// given back.
//
// Private keys and passwords pass through texts, documents and parsers, which copy and move them as
// they grow; no owner could overwrite all of that. Shared libraries written in C++ use these
// operators too. What C libraries allocate is out of their reach.

#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <new>

void* operator new(std::size_t size) {
    void* block = std::malloc(size); // NOLINT(cppcoreguidelines-no-malloc): this is its owner
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    if (block != nullptr) {
        explicit_bzero(block, malloc_usable_size(block));
        std::free(block); // NOLINT(cppcoreguidelines-no-malloc): this is its owner
    }
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    ::operator delete(block);
}
