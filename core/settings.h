#pragma once

// What start-up reads from the configuration file for the rest of the daemon.

#include <string>

// Path of the file with the trusted root certificates (key ROOT_CA_FILE), handed to the certificate
// backend as it stands. Empty until start-up has read it, and when none is configured.
extern std::string gRootCaFile;
