#pragma once

// Storing a document between claiming the sequence counter and writing it back: the shared end of
// writing and updating.

#include <nlohmann/json_fwd.hpp>

#include <string>

struct redisContext;
struct ArrayConfiguration;

// With a null arrayConfiguration by appendWriteCommands, otherwise by updateResourceTree. Faults,
// an unusable configuration too, are only logged; the result is always STORE_OK.
int storeResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                  const nlohmann::json& arrayConfiguration);

// The same with a configuration that has been parsed.
void storeMerged(redisContext* context, const std::string& uri, const nlohmann::json& value,
                 const ArrayConfiguration& configuration);
