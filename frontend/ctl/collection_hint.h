#pragma once

// What to tell about a certificate collection that is not in Redis.

#include "frontend/exchange/front_end_error.h"

#include <string>

// What the command line can do about it.
[[nodiscard]] std::string missingCollectionHint(const std::string& collectionUri);

// Of a command that needs the collection (NOT_THERE).
[[nodiscard]] FrontEndError noCollection(const std::string& collectionUri);
