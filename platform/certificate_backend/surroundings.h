#pragma once

// What an operation finds around it: where its files are, and what time it is.

#include "platform/certificate_backend/board_clock.h"

#include <string>

struct Surroundings {
    std::string directory; // where the backend keeps its files; absolute, without a "/" at the end
    BoardClock clock;
};

// Those of this moment: the directory is the value of "CERTIFICATE_DIRECTORY" in the daemon's
// configuration file, or "/var/lib/CertificateService". Throws std::runtime_error when the
// configured directory is not an absolute path.
[[nodiscard]] Surroundings currentSurroundings();
