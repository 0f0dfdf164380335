#pragma once

// Reading a resource in the plainest way: each key with a command of its own, level after level,
// each value put where its path in the document leads.

#include "tests/support/redis_client.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

struct ModelReading {
    bool readable = false;
    nlohmann::json document; // when readable
};

// Nothing when the tree unfolds into too many keys to be read this way, or names a key with a NUL,
// at which commands end for some clients.
[[nodiscard]] std::optional<ModelReading> readByModel(RedisClient& client, const std::string& uri);
