#pragma once

// Every resource with a fixed path. What Redis holds under other paths is answered by answerStored
// (frontend/web/resources/stored_resources.h).

#include "frontend/web/service/route.h"

#include <string>
#include <vector>

[[nodiscard]] const Routes& allRoutes();

// The route whose path and method these are, with the names of the segments that its pattern leaves
// open.
struct RouteChoice {
    const Route* route = nullptr; // null: the path has no such method, or there is no such path
    std::vector<std::string> names;
    std::string allowed; // the path's methods, for Allow; empty: there is no such path
    bool isOpen = false; // whether the method, or else every method of the path, is open
};

[[nodiscard]] RouteChoice chooseRoute(const std::string& uri, const std::string& method);
