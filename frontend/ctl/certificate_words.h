#pragma once

// Certificate resources in words for a person.

#include <nlohmann/json_fwd.hpp>

#include <ctime>
#include <optional>
#include <string>

// "CN=bmc, O=Example": the named property, subject or issuer; empty when it is not there.
[[nodiscard]] std::string nameText(const nlohmann::json& certificate, const std::string& property);

// The certificate resource in a few lines; nothing for a document of another kind.
void printCertificate(const nlohmann::json& certificate);

// Whole days from the first moment to the second, rounded down: below zero when it is over.
[[nodiscard]] long long daysBetween(std::time_t from, std::time_t to);

// When the certificate expires; nothing when the resource does not tell it as ISO 8601 text.
[[nodiscard]] std::optional<std::time_t> expiryOf(const nlohmann::json& certificate);
