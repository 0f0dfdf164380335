#include "frontend/web/http/http_server.h"
