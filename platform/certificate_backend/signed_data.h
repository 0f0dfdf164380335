#pragma once

// Certificates out of PKCS #7 signed data (RFC 2315, 9.1).

#include "platform/posix/fault.h"
#include "platform/posix/secret_text.h"

#include <cstddef>
#include <vector>

// Takes out the encodings of the certificates, which are not decoded, in their order, at most that
// many. Everything else in the signed data is left unread. Returns why the content is refused.
[[nodiscard]] Fault takeSignedCertificates(const SecretBytes& content, std::size_t most,
                                           std::vector<SecretBytes>& certificates);
