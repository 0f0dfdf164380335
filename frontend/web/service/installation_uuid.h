#pragma once

// By which clients know this installation again.

#include <string>

// A UUID (RFC 9562, version 8) that is the same for the same text and says nothing about it. The
// text is the machine's identifier, which stays secret.
[[nodiscard]] std::string uuidOf(const std::string& machineId);

// The UUID of this machine, from /etc/machine-id; empty when it has no such file.
[[nodiscard]] std::string installationUuid();
