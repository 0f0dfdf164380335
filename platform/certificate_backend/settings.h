#pragma once

// What the handlers need to know of their surroundings.

#include "platform/certificate_backend/board_clock.h"

#include <string>

struct BackendSettings {
    std::string directory; // where the backend keeps its files; absolute, without a "/" at the end
    BoardClock clock;
};

// The settings of this moment: the directory is the value of "CERTIFICATE_DIRECTORY" in the
// daemon's configuration file, or "/var/lib/CertificateService". Throws std::runtime_error when the
// configured directory is not an absolute path.
[[nodiscard]] BackendSettings currentSettings();
