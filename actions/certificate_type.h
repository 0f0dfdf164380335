#pragma once

// Recognising certificate resources by their stored type.

#include <string_view>

// True when the stored "@odata.type" text, its double quotes included, matches
// CERTIFICATE_ODATA_TYPE_PATTERN as a whole: a Certificate of any schema version. Matched by hand,
// in one pass, since texts from Redis can be of any length.
[[nodiscard]] bool isCertificateType(std::string_view odataType);
