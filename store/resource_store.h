#pragma once

// The Redis resource store: Redfish resources kept as trees of Redis hashes and lists, shared with
// the web front end (the stored form stands at the top of store/resource_encoding.h).
//
// All operations work on the caller's connection and take no lock: a reader may see another
// connection's write half done. They tell what goes wrong on standard error and return 0 for
// success or a negative code. Nothing already done is rolled back.

#include <nlohmann/json_fwd.hpp>

#include <string>

struct redisContext;

constexpr int STORE_OK = 0;
constexpr int STORE_MISSING = -2;           // no such resource, or a failed read or removal
constexpr int STORE_NO_TYPE = -3;           // the type of the key could not be asked or is wrong
constexpr int STORE_NO_LENGTH = -5;         // the length of a list could not be read
constexpr int STORE_NOT_THERE = -6;         // the field or element to remove is not there
constexpr int STORE_NOT_CLEARED = -7;       // the list could not be emptied
constexpr int STORE_ARRAY_NOT_REMOVED = -8; // the array to be replaced could not be removed
constexpr int STORE_BAD_CONFIGURATION = -9; // the array configuration is unusable

// Reads the resource into value. STORE_MISSING when there is none, or its top key is neither hash
// nor list; any other non-zero code when reading failed, with value partly filled. A resource that
// holds itself as its own descendant is refused. References are not followed.
[[nodiscard]] int getResource(redisContext* context, const std::string& uri, nlohmann::json& value);

// Replaces what is stored at uri by value. Returns the code of a failed removal of the old
// resource; faults of the writing itself are told on standard error only. An empty object leaves no
// key.
int writeResource(redisContext* context, const std::string& uri, const nlohmann::json& value);

// Merges value into the resource at uri. With a null arrayConfiguration every array in value
// replaces the stored one; otherwise arrays are merged position by position, as the object's three
// members say, all of which must be there:
//   "ArrayStyle"        0 as without configuration, 1 to 3 position-wise (see store/update_tree.h)
//   "ArrayMaxSize"      most entries of a list after the update; 0 or less: none given
//   "ArrayNullElement"  whether to pad lists with null up to the maximum
// STORE_BAD_CONFIGURATION, with nothing written, when the configuration is unusable.
int updateResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                   const nlohmann::json& arrayConfiguration);

// Removes the resource: its top key when includeTop is set, its nested keys when recursive is set.
// Referenced resources stay. STORE_MISSING when there is none or a reply failed.
int removeResource(redisContext* context, const std::string& uri, bool recursive, bool includeTop);
