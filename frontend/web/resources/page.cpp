#include "frontend/web/resources/page.h"

#include "frontend/web/page/page_files.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::string_view START_FILE = "index.html"; // answers at "/"
constexpr std::string_view FOLDER = "/page/";

struct ContentType {
    std::string_view ending;
    std::string_view name;
};
constexpr std::array<ContentType, 4> CONTENT_TYPES = {{
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
}};

// Nothing but the page's own files runs or is shown, and it speaks to this service alone: stored
// texts are whatever somebody put into a certificate.
constexpr const char* CONTENT_SECURITY_POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    "img-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

std::string uriOf(const PageFile& file) {
    return file.name == START_FILE ? "/" : std::string(FOLDER) + std::string(file.name);
}

std::string contentTypeOf(const PageFile& file) {
    const auto* found =
        std::find_if(CONTENT_TYPES.begin(), CONTENT_TYPES.end(),
                     [&](const ContentType& type) { return file.name.ends_with(type.ending); });
    return std::string(found == CONTENT_TYPES.end() ? "text/plain" : found->name);
}

HttpHeaders pageHeaders() {
    return {{"Content-Security-Policy", CONTENT_SECURITY_POLICY},
            {"Referrer-Policy", "no-referrer"},
            {"Cross-Origin-Opener-Policy", "same-origin"},
            {"Cross-Origin-Resource-Policy", "same-origin"},
            {"X-Frame-Options", "DENY"}};
}

Answer answerPageFile(WebService& /*service*/, const Call& call) {
    for (const PageFile& file : pageFiles()) {
        if (uriOf(file) == call.uri) {
            return {.document = nullptr,
                    .headers = pageHeaders(),
                    .contentType = contentTypeOf(file),
                    .body = std::string(file.text)};
        }
    }
    throw notFound(call.uri);
}

} // namespace

Routes pageRoutes() {
    Routes routes;
    for (const PageFile& file : pageFiles()) {
        routes.push_back({uriOf(file), "GET", answerPageFile, Access::OPEN});
    }
    return routes;
}
