#pragma once

// The messages of the resource store: single lines on standard error. They do not pass through the
// daemon's log, since programs without that log use the store too.

#include <string>

void logStoreError(const std::string& text); // "[ERROR] text"
void logStoreInfo(const std::string& text);  // "[INFO] text"
