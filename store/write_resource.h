#pragma once

// Writing resources: the commands of a whole document go out as one pipeline.

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>

struct redisContext;

// Appends the commands that store the value under the key, nested keys included, to the context's
// pipeline and returns how many they are: exactly so many replies will come. A scalar at the top
// stores nothing. sequenceId is advanced for every nested key of an array element.
[[nodiscard]] int appendWriteCommands(redisContext* context, const std::string& key,
                                      const nlohmann::json& value, std::int64_t& sequenceId);

// Stores the value between claiming the sequence counter and writing it back: with a null
// arrayConfiguration by appendWriteCommands, otherwise by updateResourceTree. Faults are told on
// standard error; the result is always STORE_OK.
int storeResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                  const nlohmann::json& arrayConfiguration);
