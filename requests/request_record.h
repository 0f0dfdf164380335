#pragma once

// The request side of the envelope: reading the front end's request record and request body.

#include <nlohmann/json_fwd.hpp>

#include <string>

// The string member of a record or request body. Throws nlohmann::json::type_error when it is
// missing or no string; the listeners let it end the daemon.
[[nodiscard]] std::string stringMember(nlohmann::json& record, const std::string& name);
