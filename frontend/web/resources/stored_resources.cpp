#include "frontend/web/resources/stored_resources.h"

Answer answerStored(WebService& /*service*/, const Call& call) {
    throw notFound(call.uri);
}
