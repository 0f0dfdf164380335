#pragma once

// The configuration library: reads single values of a key=value text file.
//
// A closed interface: header and soname (libservice_configuration.so.1) are the contract. Both
// functions read the file afresh at every call and may be called from any thread.
//
// What the reference implementation takes for a configuration file:
// - One setting to a line, "key=value". Lines end with LF or CR LF and may have any length.
// - Blanks around the line, the key and the value do not count; blanks within a value do.
// - The first '=' ends the key; any further one belongs to the value, and so do '#' and quotes.
// - An empty line, a line that begins with '#' and a line without '=' say nothing.
// - Keys are compared letter by letter. Of a key that stands there twice, the first line counts.
// - "key=" sets an empty value, which getPropertyValue tells apart from a key that is not there.
// - Only a regular file of at most 1 MiB is read. A file that is not there holds no keys, and so
//   does one that cannot be read; the latter is reported on standard error.
// - A value that does not fit, or that holds a NUL, counts as not there and is reported on standard
//   error; it is never cut. The report holds the path and the key but not the value.

#include <string>

// The value of key in the file at path, or an empty string when the file cannot be read, the key is
// not there, or the value does not fit. maxLength counts a C string's terminating NUL: a value
// has at most maxLength - 1 characters (127 for 128). A maxLength below 1 gives an empty string.
std::string getConfigValue(const std::string& path, const std::string& key, int maxLength);

// Copies the value of key, with its terminating NUL, into buffer and returns 0. Returns non-zero
// and leaves an empty text in the buffer when the file cannot be read, the key is not there, or the
// value and its NUL need more than bufferSize characters. separator stands between key and value,
// in the place of '=' above. With a null pointer or a bufferSize below 1: non-zero, and nothing is
// written but the empty text into a buffer that can hold it.
int getPropertyValue(const char* path, const char* separator, const char* key, char* buffer,
                     int bufferSize);
