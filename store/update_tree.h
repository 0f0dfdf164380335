#pragma once

// Merging a document into a stored resource with an array configuration: objects member by member,
// lists position by position.
//
//                            style 1          style 2                 style 3
//   no maximum given         current length   new length, no filling  current length
//   maximum below current    list skipped     allowed                 list skipped
//   null element             slot deleted     slot deleted            slot becomes null
//   entries beyond the new   deleted          deleted                 null within the maximum,
//                                                                     deleted beyond it
//
// Two entries have a meaning of their own while a list is merged: "ToDelete" is a slot that goes at
// the end of the merge, "null" a real element that also marks a free slot for later updates.

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>

struct redisContext;

struct ArrayConfiguration {
    std::int64_t style = 0;
    double maxSize = 0;
    bool fillNull = false;
};

// The configuration in the form that updateResource takes it; nothing, told on standard error, when
// it is unusable.
[[nodiscard]] std::optional<ArrayConfiguration>
parseArrayConfiguration(const nlohmann::json& configuration);

// Applies the value to what is stored under the key. Every command is sent at once and its reply is
// not looked at; nothing is left in the pipeline. sequenceId is advanced for every nested key that
// an array element newly takes. Returns STORE_OK; STORE_BAD_CONFIGURATION, with nothing written,
// for an unusable configuration.
int updateResourceTree(redisContext* context, const std::string& key, const nlohmann::json& value,
                       std::int64_t& sequenceId, const nlohmann::json& configuration);
