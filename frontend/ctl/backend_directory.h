#pragma once

// The directory of the reference certificate backend on this machine, for the commands that look
// into it. A board's own backend keeps its files as it likes.

#include "platform/certificate_backend/locked_directory.h"

#include <string>

// The directory that the daemon's configuration names, locked. Throws FrontEndError (LOCAL_FILE)
// when there is none, when the caller may not use it, or when the configuration cannot be read;
// nothing is made.
[[nodiscard]] LockedDirectory openBackendDirectory();

// Why the backend can install nothing here: configuration or configured roots cannot be used. Empty
// when nothing is known to be wrong.
[[nodiscard]] std::string installationObstacle();
