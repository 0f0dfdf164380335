#include "store/store_log.h"

#include <cstdio>

namespace {

// One call of fwrite, so that lines of different threads do not mix.
void writeLine(const char* label, const std::string& text) {
    const std::string line = label + text + "\n";
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void logStoreError(const std::string& text) {
    writeLine("[ERROR] ", text);
}

void logStoreInfo(const std::string& text) {
    writeLine("[INFO] ", text);
}
