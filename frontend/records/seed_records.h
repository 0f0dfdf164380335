#pragma once

// Setting up what a front end keeps: only what is missing is added, never is anything changed.

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

struct redisContext;

inline constexpr const char* DEFAULT_COLLECTION_URI =
    "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";

// What was done, one line for each thing, for showing.
using SeedReport = std::vector<std::string>;

// Certificate service, certificate locations, the collections, event service with its script, task
// service, and the default values.
[[nodiscard]] SeedReport seedRecords(redisContext* context,
                                     const std::vector<std::string>& collectionUris);

// Task service and its empty collection of tasks.
bool seedTaskService(redisContext* context);

// Adds the document's members that the resource does not have, nested ones as well. A list that has
// entries keeps them; one that has none gets the document's. True when something was added.
bool seedResource(redisContext* context, const std::string& key, const nlohmann::json& document);
