#include "frontend/web/http/tls_identity.h"
