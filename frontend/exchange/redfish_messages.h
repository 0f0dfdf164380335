#pragma once

// Redfish messages in plain English: a sentence for each message of the Base registry (1.9) and of
// the extended-error registry (1.2) that a certificate service has a use for. The wording is the
// front end's own.

#include <string>
#include <vector>

// The sentence with its arguments put in. A message that the table does not have is named, with its
// arguments; an argument that is missing shows as "(unknown)". Versions in the identifier do not
// matter. Never empty.
[[nodiscard]] std::string describeMessage(const std::string& messageId,
                                          const std::vector<std::string>& messageArgs);
