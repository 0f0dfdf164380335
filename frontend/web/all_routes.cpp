#include "frontend/web/all_routes.h"

#include "frontend/web/resources/certificate_actions.h"
#include "frontend/web/resources/certificate_service.h"
#include "frontend/web/resources/event_service.h"
#include "frontend/web/resources/manager_resources.h"
#include "frontend/web/resources/page.h"
#include "frontend/web/resources/service_root.h"
#include "frontend/web/resources/session_resources.h"
#include "frontend/web/resources/tasks.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace {

constexpr std::string_view OPEN_SEGMENT = "{}";

// Takes the first segment, "/name", off the path.
std::string_view takeSegment(std::string_view& path) {
    const std::string_view segment = path.substr(0, path.find('/', 1));
    path.remove_prefix(segment.size());
    return segment;
}

// The names of the segments that the pattern leaves open; nothing when the path is another.
std::optional<std::vector<std::string>> matchPath(std::string_view pattern, std::string_view path) {
    std::vector<std::string> names;
    while (!pattern.empty() && !path.empty()) {
        const std::string_view expected = takeSegment(pattern);
        const std::string_view segment = takeSegment(path);
        if (expected.substr(1) == OPEN_SEGMENT) {
            names.emplace_back(segment.substr(1));
        } else if (expected != segment) {
            return std::nullopt;
        }
    }
    return pattern.empty() && path.empty() ? std::optional(std::move(names)) : std::nullopt;
}

Routes collectRoutes() {
    Routes routes;
    for (Routes (*const part)() :
         {serviceRootRoutes, sessionRoutes, managerRoutes, certificateServiceRoutes,
          certificateActionRoutes, taskRoutes, eventRoutes, pageRoutes}) {
        Routes some = part();
        std::move(some.begin(), some.end(), std::back_inserter(routes));
    }
    return routes;
}

void addMethod(std::string& allowed, const std::string& method) {
    allowed += allowed.empty() ? "" : ", ";
    allowed += method == "GET" ? "GET, HEAD" : method;
}

} // namespace

const Routes& allRoutes() {
    static const Routes ROUTES = collectRoutes();
    return ROUTES;
}

RouteChoice chooseRoute(const std::string& uri, const std::string& method) {
    RouteChoice choice;
    bool everyMethodIsOpen = true;
    const std::string wanted = method == "HEAD" ? "GET" : method;
    for (const Route& route : allRoutes()) {
        auto names = matchPath(route.pattern, uri);
        if (!names) {
            continue;
        }
        addMethod(choice.allowed, route.method);
        everyMethodIsOpen = everyMethodIsOpen && route.access == Access::OPEN;
        if (route.method == wanted) {
            choice.route = &route;
            choice.names = std::move(*names);
        }
    }
    choice.isOpen = choice.route != nullptr ? choice.route->access == Access::OPEN
                                            : everyMethodIsOpen && !choice.allowed.empty();
    return choice;
}
