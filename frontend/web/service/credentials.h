#pragma once

// What a request carries to say who sends it.

#include "frontend/web/http/http_message.h"

#include <optional>
#include <string>

struct BasicCredentials {
    std::string user;
    std::string password;
};

// User and password of HTTP's Basic scheme (RFC 7617); nothing when the request has none, or none
// in form.
[[nodiscard]] std::optional<BasicCredentials> basicCredentials(const HttpRequest& request);
