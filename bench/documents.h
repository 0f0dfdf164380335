#pragma once

// The documents that the store is measured with.

#include "tests/support/commands.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <string>

// A certificate resource with everything that a creation puts into it.
[[nodiscard]] nlohmann::json certificateResource(const std::string& uri);

// An array of that many numbers, strings and flags in turn.
[[nodiscard]] nlohmann::json scalarArray(std::size_t elements);

// An array of that many objects of three members.
[[nodiscard]] nlohmann::json objectArray(std::size_t elements);

// Objects inside each other, that many deep, with a scalar beside each.
[[nodiscard]] nlohmann::json nestedObjects(std::size_t depth);

// A stored resource of that depth whose keys are short at every level, which a reader follows like
// any other; the store itself would give it keys that grow with every level.
[[nodiscard]] Commands shortKeyChain(const std::string& uri, std::size_t depth);
