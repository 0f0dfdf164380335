#pragma once

// Merging an array of an update into the stored list, position by position. Each element of the
// new array has one of these actions:
//
//   fill      the slot held the free element "null"
//   replace   the slot held anything else; an object or array is merged into the one stored there
//   append    there is no such slot yet
//   delete    the element is null; in style 3 the slot becomes null instead
//
// Before that the list shrinks by its entries beyond the new array, unless that is empty.
//
//                            style 1          style 2                 style 3
//   no maximum given         current length   new length, no filling  current length
//   maximum below current    list skipped     allowed                 list skipped
//   null element             slot deleted     slot deleted            slot becomes null
//   entries beyond the new   deleted          deleted                 null
//
// "ToDelete" is an entry that goes at the end of the merge.

#include "store/array_configuration.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

struct redisContext;

// What one update shares. Commands are sent one by one and their replies not looked at: an entry
// whose command fails stays as it was.
struct Update {
    redisContext* context;
    std::int64_t& sequenceId; // advanced for every nested key that an element newly takes
    const ArrayConfiguration& configuration;
};

// An object or array that is to be merged next into what stands under the key.
struct NestedUpdate {
    std::string key;
    const nlohmann::json* value; // outlives the update
};

// How the merge of one list stands.
struct ArrayMerge {
    std::string key;
    std::vector<std::string> current; // entries at the start of the merge
    std::size_t slots = 0;            // that the maximum allows
    bool fillNull = false;
    std::size_t deleted = 0; // slots that new elements deleted
    bool overflowed = false;
    bool needsCleanup = false;
    std::vector<std::string> orphans; // nested keys of entries that went
};

// Reads the list and shrinks it. Nothing, and a line logged, when it must stay as it is.
[[nodiscard]] std::optional<ArrayMerge>
beginArrayMerge(const Update& update, const std::string& key, const nlohmann::json& newArray);

// Gives back what is to be merged below the element before the next one, if anything.
[[nodiscard]] std::optional<NestedUpdate> mergeElement(const Update& update, ArrayMerge& merge,
                                                       std::size_t index,
                                                       const nlohmann::json& element);

// After the last element: removes what was deleted, then fills with null.
void finishArrayMerge(const Update& update, const ArrayMerge& merge);
