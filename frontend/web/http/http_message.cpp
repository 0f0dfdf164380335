#include "frontend/web/http/http_message.h"

#include <strings.h>

std::optional<std::string_view> findHeader(const HttpHeaders& headers, std::string_view name) {
    for (const auto& [headerName, value] : headers) {
        if (headerName.size() == name.size() &&
            strncasecmp(headerName.data(), name.data(), name.size()) == 0) {
            return value;
        }
    }
    return std::nullopt;
}
