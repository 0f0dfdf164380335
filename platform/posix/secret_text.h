#pragma once

// Text and bytes that may hold a private key: the memory is kept out of swap where the process may
// lock it, and overwritten before it is given back.

#include <sys/mman.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

template <typename Element>
struct CleansingAllocator {
    using value_type = Element;

    CleansingAllocator() = default;
    template <typename Other>
    explicit(false) CleansingAllocator(const CleansingAllocator<Other>& /*other*/) noexcept {}

    [[nodiscard]] Element* allocate(std::size_t count) {
        Element* const memory = std::allocator<Element>().allocate(count);
        // Its pages stay locked, because they may hold another secret when this one goes.
        static_cast<void>(mlock(memory, count * sizeof(Element)));
        return memory;
    }

    void deallocate(Element* memory, std::size_t count) noexcept {
        explicit_bzero(memory, count * sizeof(Element));
        std::allocator<Element>().deallocate(memory, count);
    }

    friend bool operator==(const CleansingAllocator& /*a*/, const CleansingAllocator& /*b*/) {
        return true;
    }
};

// What fits into the string object itself (15 characters) is not overwritten; a private key is
// longer.
using SecretText = std::basic_string<char, std::char_traits<char>, CleansingAllocator<char>>;
using SecretBytes = std::vector<unsigned char, CleansingAllocator<unsigned char>>;
