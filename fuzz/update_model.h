#pragma once

// Writing and updating resources on plain data instead of a server: maps and vectors, recursion,
// nothing shared with the store but the JSON library.

#include "fuzz/redis.h"

#include <nlohmann/json.hpp>

#include <string>

struct ModelConfiguration {
    int style = 0; // 0: none, arrays are replaced
    double maxSize = 0;
    bool fillNull = false;
};

void writeByModel(StoredData& data, const std::string& uri, const nlohmann::json& value);

void updateByModel(StoredData& data, const std::string& uri, const nlohmann::json& value,
                   const ModelConfiguration& configuration);
