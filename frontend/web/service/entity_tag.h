#pragma once

// Entity tags of answers (RFC 9110, 8.8.3).

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

// The tag of the document, between double quotes: its "@odata.etag", whether that is stored with
// quotes or without, or else a digest of the body.
[[nodiscard]] std::string entityTagOf(const nlohmann::json& document, std::string_view body);

// Whether If-None-Match names the tag, "*" included (RFC 9110, 13.1.2).
[[nodiscard]] bool isNamedBy(std::string_view ifNoneMatch, std::string_view entityTag);
