#include "frontend/web/resources/manager_resources.h"

Routes managerRoutes() {
    return {};
}
