#pragma once

// Steps that a resource goes through, made of an input's bytes: names, keys and texts are few, so
// that updates meet what is stored. The resource is written, updated under each array style with
// maxima around the lengths of its lists, and other writers put entries of their own in between.

#include "fuzz/input.h"
#include "tests/models/expected_database.h"
#include "tests/models/update_rules.h"

#include <nlohmann/json.hpp>

#include <string>

class RedisClient;

struct UpdateStep {
    enum class Kind { COMMAND, WRITE, UPDATE };

    Kind kind = Kind::COMMAND;
    Command command; // of another writer
    nlohmann::json document;
    nlohmann::json configuration; // null, usable or not
};

inline const std::string UPDATED_URI = "/u";

[[nodiscard]] UpdateStep takeUpdateStep(Input& input);

// The step on the store's side, with its result, and on the model's.
int runOnStore(const UpdateStep& step, RedisClient& client);
RulesOutcome runOnModel(const UpdateStep& step, ExpectedDatabase& database);

// For reports; one line.
[[nodiscard]] std::string describeStep(const UpdateStep& step);
