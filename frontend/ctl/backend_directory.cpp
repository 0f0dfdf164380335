#include "frontend/ctl/backend_directory.h"

#include "frontend/exchange/front_end_error.h"
#include "platform/certificate_backend/surroundings.h"
#include "platform/certificate_backend/trusted_roots.h"

#include <exception>
#include <filesystem>

namespace {

constexpr const char* HINT =
    "The directory is the daemon's: run this as the daemon's user, where the reference backend "
    "serves.";

std::string existingDirectory() {
    std::string directory = currentSurroundings().directory;
    if (!std::filesystem::is_directory(directory)) {
        throw FrontEndError(FailureKind::LOCAL_FILE,
                            "There is no directory " + directory + ": nothing is installed here.",
                            HINT);
    }
    return directory;
}

} // namespace

LockedDirectory openBackendDirectory() {
    try {
        return LockedDirectory(existingDirectory());
    } catch (const FrontEndError&) {
        throw;
    } catch (const std::exception& error) {
        throw FrontEndError(FailureKind::LOCAL_FILE, error.what(), HINT);
    }
}

std::string installationObstacle() {
    try {
        const RootsHandle roots = loadRoots(currentSurroundings().rootCaFile);
        return {};
    } catch (const std::exception& error) {
        return error.what();
    }
}
