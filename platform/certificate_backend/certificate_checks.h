#pragma once

// What each certificate of a chain must fulfil by itself. The fault is the rest of a sentence that
// begins with the certificate, and says what would be accepted.

#include "platform/certificate_backend/board_clock.h"
#include "platform/certificate_backend/collection_kind.h"
#include "platform/posix/fault.h"
#include "platform/x509/openssl_handles.h"

// Over at this second or before, or not yet begun. A start in the future counts only when the clock
// is set.
[[nodiscard]] Fault validityFault(X509* certificate, const BoardClock& clock);

// More extensions than any certificate needs; asked before the first of them is read.
[[nodiscard]] Fault extensionCountFault(X509* certificate);

// Extensions that cannot be read.
[[nodiscard]] Fault extensionsFault(X509* certificate);

// The signature has at least 112 bits of security (no MD5, no SHA-1).
[[nodiscard]] Fault signatureFault(X509* certificate);

// Fit to be this board's own as a server or as a client: not the certificate of an authority,
// unless it is self-signed; a key usage that allows what a server (RFC 5246, 7.4.2) or a client
// does; and that purpose, by its own name, where there is an extended key usage (RFC 5280,
// 4.2.1.12).
[[nodiscard]] Fault identityUseFault(X509* certificate, CollectionKind kind);
