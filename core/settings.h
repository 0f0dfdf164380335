#pragma once

// The daemon's settings, lines of KEY=value in CONFIG_FILE.

#include <string>

// The value of the key as it stands in the file now; empty when it is missing, or longer than 127
// characters. Throws what the configuration library throws.
[[nodiscard]] std::string readSetting(const std::string& key);

// Path of the file with the trusted root certificates (key ROOT_CA_FILE), handed to the certificate
// backend as it stands. Empty until start-up has read it, and when none is configured.
extern std::string gRootCaFile;
