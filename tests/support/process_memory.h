#pragma once

// What stands in the memory of a process, its freed memory and unused stacks included.

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

// The bytes at an address of this process, which may have been freed. Throws std::runtime_error
// when they cannot be read.
[[nodiscard]] std::string memoryAt(const void* address, std::size_t size);

// How often these texts stand in the process's writable memory, all counted together. Throws
// std::runtime_error when that memory cannot be read.
[[nodiscard]] std::size_t countInMemory(pid_t process, const std::vector<std::string>& texts);
