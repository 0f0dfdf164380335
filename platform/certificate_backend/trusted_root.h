#pragma once

// Path validation (RFC 5280, 6).

#include "platform/certificate_backend/board_clock.h"
#include "platform/posix/fault.h"
#include "platform/x509/certificate_chain.h"

#include <string>

// Why the first certificate does not lead, over the rest of its chain, to a root in the PEM file. A
// partial chain does not suffice. Throws std::runtime_error when the file cannot be read.
[[nodiscard]] Fault rootFault(const CertificateChain& chain, const std::string& rootCaFile,
                              const BoardClock& clock);
