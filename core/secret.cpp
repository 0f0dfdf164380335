#include "core/secret.h"

#include <cstring>

#include <sys/prctl.h>

void wipeText(std::string& text) {
    text.resize(text.capacity());
    explicit_bzero(text.data(), text.size());
    text.clear();
}

void forbidCoreFiles() {
    (void)prctl(PR_SET_DUMPABLE, 0);
}
