#pragma once

// Key usage and extended key usage (RFC 5280, 4.2.1.3 and 4.2.1.12) under their Redfish names.

#include "platform/x509/openssl_handles.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One value of Redfish's KeyUsage: a bit of the key usage, or a purpose of the extended key usage.
struct KeyUsageValue {
    std::string_view name;
    int bit = -1;    // of the KeyUsage bit string; -1 for a purpose
    int purpose = 0; // OpenSSL's number of the extended key usage; 0 for a bit
};

// The value of that name; nothing when Redfish has no such value.
[[nodiscard]] std::optional<KeyUsageValue> keyUsageNamed(std::string_view name);

// The names of all values, in the schema's order.
[[nodiscard]] std::vector<std::string_view> keyUsageNames();

// Whether the purpose, by OpenSSL's number, is among those of the extended key usage.
[[nodiscard]] bool holdsPurpose(const EXTENDED_KEY_USAGE* purposes, int purpose);

// The Redfish names of what the certificate's two extensions allow, in the schema's order. Purposes
// without a Redfish name are left out.
[[nodiscard]] std::vector<std::string> keyUsageOf(const X509* certificate);
