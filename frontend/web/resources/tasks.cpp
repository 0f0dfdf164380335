#include "frontend/web/resources/tasks.h"

Routes taskRoutes() {
    return {};
}
