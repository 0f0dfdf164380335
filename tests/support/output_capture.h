#pragma once

// What the test's own process prints.

#include <string>

// Takes over a file descriptor, 1 for standard output or 2 for standard error, for the time of a
// scope. Reports of a sanitizer still go to the standard error of before.
class OutputCapture {
public:
    explicit OutputCapture(int descriptor);
    ~OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    // Everything printed since the beginning of the scope.
    [[nodiscard]] std::string text() const;

private:
    int mDescriptor;
    int mSaved;
    int mFile;
};
