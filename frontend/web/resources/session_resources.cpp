#include "frontend/web/resources/session_resources.h"

Routes sessionRoutes() {
    return {};
}

bool isSessionCreation(const std::string& uri) {
    return uri == "/redfish/v1/SessionService/Sessions" ||
           uri == "/redfish/v1/SessionService/Sessions/Members";
}
