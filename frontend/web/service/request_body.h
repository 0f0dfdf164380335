#pragma once

// The body of a request, as the JSON object that every request with a body must carry.

#include "frontend/web/http/http_message.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <string>

// Objects and arrays may stand in one another up to so many levels, the body itself included. No
// request needs more than three.
inline constexpr std::size_t DEEPEST_BODY = 16;

// The body, read. It holds neither NUL characters nor a member twice. Its texts may be secrets,
// which the caller wipes.
// Throws Refusal:
//   415  the media type is another one than JSON's; a request that names none is taken as JSON
//   400  nothing there (UnrecognizedRequestBody); no JSON in UTF-8, no object, nested too deep, a
//        NUL character (MalformedJSON); a member that is there twice (PropertyDuplicate)
[[nodiscard]] nlohmann::json readJsonBody(const HttpRequest& request);

// The same of the text alone.
[[nodiscard]] nlohmann::json readJsonObject(const std::string& text);
