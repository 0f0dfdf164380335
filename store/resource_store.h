#pragma once

// The Redis resource store: Redfish resources kept as trees of Redis hashes and lists, shared with
// the web front end (the stored form stands at the top of store/resource_encoding.h).
//
// All operations work on the caller's connection and take no lock: a reader may see another
// connection's write half done. They log what goes wrong on standard error and return STORE_OK or
// another code of store/store_result.h. Nothing already done is rolled back, and the connection
// stays in step: every reply that was asked for has been taken, unless the connection failed.

#include "store/store_result.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

struct redisContext;

// Reads the resource into value. References are not followed. A nested key that is gone, or is not
// of the type that its marker names, leaves its member empty.
// STORE_MISSING when there is no hash or list at uri (nothing is logged then), when a reply did not
// come or is an error, and for a resource that holds itself or repeats too many of its keys.
// STORE_NO_TYPE when the type of uri could not be asked. value may be partly filled after a
// failure.
[[nodiscard]] int getResource(redisContext* context, const std::string& uri, nlohmann::json& value);

// Replaces what is stored at uri by value; an empty object leaves no key. STORE_MISSING or
// STORE_NO_TYPE, with nothing written, when the old resource could not be removed. Faults of the
// writing itself are only logged.
int writeResource(redisContext* context, const std::string& uri, const nlohmann::json& value);

// Merges value into the resource at uri. With a null arrayConfiguration every array in value
// replaces the stored one; otherwise arrays are merged position by position, as the object's three
// members say, all of which must be there (see store/array_merge.h):
//   "ArrayStyle"        0 as without configuration, 1 to 3 position by position
//   "ArrayMaxSize"      most entries of a list after the update; 0 or less: none given
//   "ArrayNullElement"  whether to pad lists with null up to the maximum
// STORE_BAD_CONFIGURATION, with nothing written, when the configuration is unusable. Everything
// else that goes wrong leaves the result STORE_OK.
int updateResource(redisContext* context, const std::string& uri, const nlohmann::json& value,
                   const nlohmann::json& arrayConfiguration);

// Removes the resource: its top key when includeTop is set, its nested keys when recursive is set.
// Referenced resources stay. STORE_MISSING when there is no hash or list at uri, or a reply did not
// come; STORE_NO_TYPE when its type could not be asked. Keys that are gone by then stay gone.
int removeResource(redisContext* context, const std::string& uri, bool recursive, bool includeTop);
