#pragma once

// The commands of a whole document, as one pipeline.

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>

struct redisContext;

// Appends the commands that store the value under the key, nested keys included, to the context's
// pipeline and returns how many they are: exactly so many replies will come. A scalar at the top
// stores nothing. sequenceId is advanced for every nested key of an array element.
[[nodiscard]] int appendWriteCommands(redisContext* context, const std::string& key,
                                      const nlohmann::json& value, std::int64_t& sequenceId);
