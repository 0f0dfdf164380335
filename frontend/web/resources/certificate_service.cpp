#include "frontend/web/resources/certificate_service.h"

Routes certificateServiceRoutes() {
    return {};
}
