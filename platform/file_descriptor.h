#pragma once

// An open file of the reference libraries.

#include <unistd.h>

// Owns a file descriptor and closes it at the end of the scope. A negative number, as open returns
// it on a failure, owns nothing.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : mDescriptor(descriptor) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (mDescriptor >= 0) {
            ::close(mDescriptor);
        }
    }

    [[nodiscard]] int get() const {
        return mDescriptor;
    }

private:
    int mDescriptor;
};
