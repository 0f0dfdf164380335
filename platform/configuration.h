#pragma once

// The configuration library: reads single values of a key=value text file.
//
// A closed interface: header and soname (libservice_configuration.so.1) are the contract. Both
// functions read the file afresh at every call and may be called from any thread.

#include <string>

// The value of key in the file at path, or an empty string when the file cannot be read, the key is
// not there, or the value is longer than maxLength - 1 characters.
std::string getConfigValue(const std::string& path, const std::string& key, int maxLength);

// Copies the value of key, with its terminating NUL, into buffer and returns 0. Returns non-zero and
// leaves an empty text in the buffer when the file cannot be read, the key is not there, or the
// value does not fit into bufferSize characters. separator stands between key and value.
int getPropertyValue(const char* path, const char* separator, const char* key, char* buffer,
                     int bufferSize);
