#pragma once

// The messages of the resource store: single lines on standard error. They do not pass through the
// daemon's log, since programs without that log use the store too.
//
// A control character in the text, as a key may hold it, is written as "?".

#include <string>

void logStoreError(const std::string& text); // "[ERROR] text"
void logStoreInfo(const std::string& text);  // "[INFO] text"
