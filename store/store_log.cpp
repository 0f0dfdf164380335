#include "store/store_log.h"

#include <algorithm>
#include <cstdio>

namespace {

bool isControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7f;
}

// One call of fwrite, so that lines of different threads do not mix.
void writeLine(const char* label, const std::string& text) {
    std::string line = label + text;
    std::replace_if(line.begin(), line.end(), isControl, '?');
    line += '\n';
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void logStoreError(const std::string& text) {
    writeLine("[ERROR] ", text);
}

void logStoreInfo(const std::string& text) {
    writeLine("[INFO] ", text);
}
