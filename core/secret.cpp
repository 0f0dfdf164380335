#include "core/secret.h"

#include <nlohmann/json.hpp>
#include <sys/prctl.h>

#include <cstring>
#include <vector>

void wipeText(std::string& text) {
    text.resize(text.capacity());
    explicit_bzero(text.data(), text.size());
    text.clear();
}

void wipeDocument(nlohmann::json& document) {
    // Whoever sent the document chose its depth, so the values to visit wait here and not on the
    // stack.
    std::vector<nlohmann::json*> waiting = {&document};
    while (!waiting.empty()) {
        nlohmann::json& value = *waiting.back();
        waiting.pop_back();
        if (value.is_string()) {
            wipeText(value.get_ref<std::string&>());
        } else if (value.is_structured()) {
            for (nlohmann::json& element : value) {
                waiting.push_back(&element);
            }
        }
    }
}

__attribute__((noinline)) void wipeUnusedStack() {
    char unused[64 * 1024];
    explicit_bzero(unused, sizeof unused);
}

void forbidCoreFiles() {
    (void)prctl(PR_SET_DUMPABLE, 0);
}
