#include "fuzz/property.h"

#include <unistd.h>

#include <cstdlib>

namespace {

// Taken before main, and so before libFuzzer closes standard error.
const int gReportDescriptor = dup(STDERR_FILENO);

} // namespace

void require(bool holds, const char* property) {
    if (!holds) {
        reportBroken(property);
    }
}

void requireSame(const std::string& seen, const std::string& expected,
                 const std::string& property) {
    if (seen != expected) {
        reportBroken(property + "\n--- seen\n" + seen + "\n--- expected\n" + expected);
    }
}

void reportBroken(const std::string& report) {
    const std::string text = "\nBROKEN PROPERTY: " + report + "\n";
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count =
            write(gReportDescriptor, text.data() + written, text.size() - written);
        if (count <= 0) {
            break;
        }
        written += static_cast<std::size_t>(count);
    }
    std::abort();
}
