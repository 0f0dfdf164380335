#pragma once

// Certificate chains (RFC 5280, 6): putting them in order, and following them to a trusted root.

#include "platform/certificate_backend/board_clock.h"
#include "platform/certificate_backend/openssl_handles.h"

#include <string>
#include <vector>

using CertificateChain = std::vector<CertificateHandle>;

// Puts the certificates in order, the one that issued none of the others first, each followed by
// the one that signed it. Returns why they are not one such chain, for a message; empty when they
// are.
[[nodiscard]] std::string orderChain(CertificateChain& chain);

// Whether the certificate leads, over the rest of its chain, to a root in the PEM file: empty when
// it does, otherwise why not. A partial chain does not suffice. Throws std::runtime_error when the
// file cannot be read.
[[nodiscard]] std::string rootFault(const CertificateChain& chain, const std::string& rootCaFile,
                                    const BoardClock& clock);
