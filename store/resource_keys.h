#pragma once

// The keys that belong to a resource.

#include "store/key_list.h"

#include <string>

struct redisContext;

// Gathers the keys of the resource into keys, empty before: the top key, and with recursive every
// key that a structured marker below it names. A key that is named as a hash and as a list is
// walked as the kind that it is, and is in the list a second time as a repeated one; no other key
// is. STORE_OK; STORE_MISSING when there is no hash or list at uri, or a reply did not come or is
// an error; STORE_NO_TYPE when its type could not be asked.
[[nodiscard]] int collectResourceKeys(redisContext* context, const std::string& uri, bool recursive,
                                      KeyList& keys);

// Goes on from keys, which holds the top key alone, to all keys below it. Results as above.
[[nodiscard]] int collectNestedKeys(redisContext* context, KeyList& keys);
