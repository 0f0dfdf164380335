#pragma once

// How a target states what must hold. When it does not, the process prints both sides and aborts;
// libFuzzer then keeps the input.
//
// Reports go to the standard error that the process started with, also when libFuzzer silences it.

#include <string>

void require(bool holds, const char* property);

void requireSame(const std::string& seen, const std::string& expected, const std::string& property);

[[noreturn]] void reportBroken(const std::string& report);
