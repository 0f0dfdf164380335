#pragma once

// What an operation finds around it: where its files are, whom it may trust, and what time it is.

#include "platform/certificate_backend/board_clock.h"

#include <string>

struct Surroundings {
    std::string directory; // where the backend keeps its files; absolute, without a "/" at the end
    BoardClock clock;
    std::string rootCaFile; // for requests that name none; empty: no root is configured
};

// Those of this moment, by the daemon's configuration file: the values of "CERTIFICATE_DIRECTORY",
// or "/var/lib/CertificateService", and of "ROOT_CA_FILE", however long they are. Throws
// std::runtime_error when the file is there but cannot be read whole, or when the directory is not
// an absolute path.
[[nodiscard]] Surroundings currentSurroundings();
