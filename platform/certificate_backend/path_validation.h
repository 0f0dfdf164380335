#pragma once

// Path validation (RFC 5280, 6) by OpenSSL's rules. The faults are sentences that name the
// certificate at fault by its depth and subject.

#include "platform/certificate_backend/board_clock.h"
#include "platform/certificate_backend/collection_kind.h"
#include "platform/posix/fault.h"
#include "platform/x509/certificate_chain.h"

// By what a chain is judged. Identities are judged for their purpose, trust for none.
struct PathRules {
    CollectionKind kind;
    BoardClock clock;
};

// Why the chain is not good in itself, its last certificate taken for trusted: signatures, dates,
// CA flags, path lengths, critical extensions, name constraints, purposes.
[[nodiscard]] Fault chainFault(const CertificateChain& chain, const PathRules& rules);

// Why the chain does not lead to one of the roots, by the same rules. A partial chain does not
// suffice.
[[nodiscard]] Fault rootFault(const CertificateChain& chain, X509_STORE* roots,
                              const PathRules& rules);
