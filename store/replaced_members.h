#pragma once

// Room for an update without array configuration.

#include <nlohmann/json_fwd.hpp>

#include <string>

struct redisContext;

// Removes every stored array that the value reaches through objects, or the resource itself when
// the value is an array, so that the following write lays them out afresh. STORE_OK, or
// STORE_ARRAY_NOT_REMOVED when the value is an array and there was nothing to remove.
int removeReplacedMembers(redisContext* context, const std::string& key,
                          const nlohmann::json& value);
