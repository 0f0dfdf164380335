#include "core/secret.h"

#include <sys/prctl.h>

#include <cstring>

void wipeText(std::string& text) {
    text.resize(text.capacity());
    explicit_bzero(text.data(), text.size());
    text.clear();
}

void forbidCoreFiles() {
    (void)prctl(PR_SET_DUMPABLE, 0);
}
