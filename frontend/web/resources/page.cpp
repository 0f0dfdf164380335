#include "frontend/web/resources/page.h"

Routes pageRoutes() {
    return {};
}
