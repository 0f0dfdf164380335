// Capturing over a file in memory that takes the descriptor's place.

#include "tests/support/output_capture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

void flushAll() {
    std::cout.flush();
    std::cerr.flush();
    (void)std::fflush(nullptr);
}

void sendReportsTo([[maybe_unused]] int descriptor) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)));
#endif
}

} // namespace

OutputCapture::OutputCapture(int descriptor)
    : mDescriptor(descriptor), mSaved(dup(descriptor)), mFile(memfd_create("capture", 0)) {
    flushAll();
    if (mSaved < 0 || mFile < 0 || dup2(mFile, mDescriptor) < 0) {
        throw std::runtime_error("cannot capture output");
    }
    if (descriptor == STDERR_FILENO) {
        sendReportsTo(mSaved);
    }
}

OutputCapture::~OutputCapture() {
    flushAll();
    dup2(mSaved, mDescriptor);
    if (mDescriptor == STDERR_FILENO) {
        sendReportsTo(STDERR_FILENO);
    }
    close(mSaved);
    close(mFile);
}

std::string OutputCapture::text() const {
    flushAll();
    std::string result;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count =
            pread(mFile, buffer.data(), buffer.size(), static_cast<off_t>(result.size()));
        if (count <= 0) {
            return result;
        }
        result.append(buffer.data(), static_cast<std::size_t>(count));
    }
}
