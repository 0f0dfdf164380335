// Orders to the steerable backend, and its notes.

#include "tests/support/fake_backend.h"

#include "tests/support/fake_backend/paths.h"
#include "tests/support/temp_files.h"

#include <filesystem>

std::string fakeBackendDirectory() {
    return FAKE_BACKEND_DIRECTORY;
}

void setBackendAnswers(const std::string& json) {
    const std::string temporary = std::string(FAKE_BACKEND_ORDERS) + ".new";
    writeFile(temporary, json);
    std::filesystem::rename(temporary, FAKE_BACKEND_ORDERS);
}

void resetBackend() {
    std::filesystem::remove(FAKE_BACKEND_ORDERS);
    std::filesystem::remove(FAKE_BACKEND_CALLS);
}

std::vector<std::string> backendCalls() {
    return splitLines(readFileIfAny(FAKE_BACKEND_CALLS));
}
