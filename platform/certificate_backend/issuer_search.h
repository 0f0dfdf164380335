#pragma once

// The chain of a certificate among those that came with it.

#include "platform/certificate_backend/board_clock.h"
#include "platform/x509/certificate_chain.h"

#include <cstddef>

// The certificate at that place, then its issuer, and so on up to a self-signed certificate or to
// one whose issuer is not there. What belongs to the chain is told by names and key identifiers
// (RFC 5280, 4.2.1.1); only where two or more fit is a signature tried, at most two for each
// certificate: those valid now come first, and a cross-signed certificate before its self-signed
// twin. The certificates that do not belong to the chain are dropped. Whether the signatures of the
// chain are good is not said by it.
[[nodiscard]] CertificateChain chainOf(CertificateChain certificates, std::size_t first,
                                       const BoardClock& clock);
