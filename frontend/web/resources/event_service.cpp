#include "frontend/web/resources/event_service.h"

Routes eventRoutes() {
    return {};
}
