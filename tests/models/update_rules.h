#pragma once

// The rules of writing and updating as one would say them: list by list, with recursion and regular
// expressions, one command after the other on plain containers. Nothing is shared with the store
// but the JSON library.

#include "tests/models/expected_database.h"

#include <nlohmann/json.hpp>

#include <string>

struct RulesOutcome {
    int result = 0;
    std::string log; // messages on standard error
};

// As writeResource and updateResource do; their commands are run on the database.
RulesOutcome writeByRules(ExpectedDatabase& database, const std::string& uri,
                          const nlohmann::json& value);
RulesOutcome updateByRules(ExpectedDatabase& database, const std::string& uri,
                           const nlohmann::json& value, const nlohmann::json& arrayConfiguration);
