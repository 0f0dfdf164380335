#pragma once

// Removing resources: first the key tree is read, one exchange for each level, then all keys go in
// one pipeline.

#include "store/read_passes.h"

#include <string>

// Gathers the keys of the resource into keys: the top key, and with recursive every key that a
// structured marker below it names, each once. STORE_OK, STORE_MISSING when there is no resource or
// a reply failed, STORE_NO_TYPE when its type could not be asked.
[[nodiscard]] int collectResourceKeys(redisContext* context, const std::string& uri, bool recursive,
                                      ReadQueue& keys);
