#include "frontend/web/resources/certificate_actions.h"

Routes certificateActionRoutes() {
    return {};
}
