#pragma once

// Merging a document into a stored resource with an array configuration: objects member by member,
// arrays position by position (store/array_merge.h).

#include "store/array_merge.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>

// Applies the value to what is stored under the key. Every command is sent at once and its reply is
// not looked at; nothing is left in the pipeline.
void updateTree(const Update& update, const std::string& key, const nlohmann::json& value);

// The same with a configuration in the form that updateResource takes it. STORE_BAD_CONFIGURATION,
// with nothing written, when it is unusable.
int updateResourceTree(redisContext* context, const std::string& key, const nlohmann::json& value,
                       std::int64_t& sequenceId, const nlohmann::json& configuration);
