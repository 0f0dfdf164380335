// Faults as environment variables of the daemon.

#include "tests/system/start_faults.h"

#include "tests/support/fake_backend.h"
#include "tests/support/temp_files.h"
#include "tests/support/wait.h"

#include <filesystem>

namespace {

const std::string RELEASE_FILE = "/tmp/start_faults.release";
const std::string REACHED_FILE = RELEASE_FILE + ".reached";

std::string commaSeparated(const std::vector<std::string>& texts) {
    std::string result;
    for (const auto& text : texts) {
        result += (result.empty() ? "" : ",") + text;
    }
    return result;
}

} // namespace

DaemonOptions withFaults(const StartFaults& faults, DaemonOptions options) {
    std::filesystem::remove(RELEASE_FILE);
    std::filesystem::remove(REACHED_FILE);
    options.libraryPath =
        std::string(FAULTY_CONFIGURATION_DIRECTORY) + ":" + fakeBackendDirectory();
    options.environment["FAULT_FAIL"] = commaSeparated(faults.failing);
    options.environment["FAULT_PASS"] = commaSeparated(faults.passing);
    options.environment["FAULT_HOLD"] = faults.held;
    options.environment["FAULT_HOLD_FILE"] = RELEASE_FILE;
    options.environment["FAULT_THROW"] = faults.exception;
    options.environment["FAULT_TEXT"] = faults.exceptionText;
    options.environment["FAULT_PRINT"] = faults.printed;
    return options;
}

bool waitForHeldStart() {
    return waitUntil([] { return fileExists(REACHED_FILE); });
}

void releaseHeldStart() {
    writeFile(RELEASE_FILE, "");
}

std::string mayLeaveCoreFile() {
    return readFileIfAny(RELEASE_FILE + ".core");
}
