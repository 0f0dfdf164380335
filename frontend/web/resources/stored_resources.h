#pragma once

// The certificate collections that Redis holds, wherever they stand, and their certificates.

#include "frontend/web/service/route.h"

// Answers any path that no route has. A path that leads to no certificate collection and to none of
// its certificates is not found, whatever else Redis keeps under that key.
[[nodiscard]] Answer answerStored(WebService& service, const Call& call);
