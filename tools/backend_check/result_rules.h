#pragma once

// What every result of a backend keeps to, whatever it was asked.
//
// Each function returns the faults it finds, as sentences; none when all is well.

#include "platform/certificate_backend.h"

#include <ctime>
#include <string>
#include <vector>

using Faults = std::vector<std::string>;

// A code of three digits; a message in the form of a registry's, with as many arguments as the
// registry has for it, for the messages that a certificate service has a use for; every text can be
// stored, which takes UTF-8; nothing that looks like a private key.
[[nodiscard]] Faults resultFaults(std::int32_t code, const MessageInfo& message);

// The same for the texts of a certificate's result or a signing request's. For code 200 also what
// has to be there: dates, a certificate, names and usages that Redfish has.
[[nodiscard]] Faults resultFaults(const CreateCertResult& result);
[[nodiscard]] Faults resultFaults(const CSRResult& result);

// Whether the text is this moment in ISO 8601 in UTC.
[[nodiscard]] bool isUtcMoment(const std::string& text, std::time_t moment);
