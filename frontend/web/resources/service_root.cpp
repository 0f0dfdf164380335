#include "frontend/web/resources/service_root.h"

Routes serviceRootRoutes() {
    return {};
}
