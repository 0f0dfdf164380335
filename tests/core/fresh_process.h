#pragma once

// Code that fills a process-wide cache or changes the process runs in a process of its own, so that
// every case begins with nothing filled, however the tests are started.

#include <functional>
#include <string>

// Runs body in a copy of this process and gives what it returns. What body throws comes as
// "exception: " and its text; when the copy dies, std::runtime_error is thrown here. No other
// thread may run: locks that it holds at that moment would stay locked in the copy.
[[nodiscard]] std::string inFreshProcess(const std::function<std::string()>& body);
