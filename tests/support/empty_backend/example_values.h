#pragma once

// Values of the size of real ones, for the empty backend and for the documents of the benchmarks.

#include <string>
#include <unordered_map>

// The properties of a subject or an issuer (Redfish Identifier).
[[nodiscard]] inline std::unordered_map<std::string, std::string> exampleIdentifier() {
    return {{"CommonName", "bmc.example"},
            {"Organization", "Example Works"},
            {"OrganizationalUnit", "Platform"},
            {"City", "Springfield"},
            {"State", "Oregon"},
            {"Country", "US"},
            {"Email", "bmc@example.com"}};
}

// A text as long as that of a certificate with an RSA key, about 1.4 KB. It is none.
[[nodiscard]] inline std::string exampleCertificateText() {
    constexpr int LINES = 22;
    std::string text = "-----BEGIN CERTIFICATE-----\n";
    for (int i = 0; i < LINES; ++i) {
        text += "MIID4TCCAsmgAwIBAgIUQf3kM7+2vYb1c8nJp0aXoL5dR9Ewq6t/VZsYhG4uKmNy\n";
    }
    return text + "-----END CERTIFICATE-----\n";
}
