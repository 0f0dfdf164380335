#pragma once

// Setting up what a front end keeps: only what is missing is added, nothing is changed.
//
// Functions throw FrontEndError (NO_REDIS) when Redis cannot be reached or refuses a command.

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

struct redisContext;

inline constexpr char DEFAULT_COLLECTION_URI[] =
    "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";

inline constexpr char TASK_SERVICE_URI[] = "/redfish/v1/TaskService";
inline constexpr char TASKS_URI[] = "/redfish/v1/TaskService/Tasks";

// A resource, or another thing that a front end keeps.
struct SeededRecord {
    std::string name; // its URI, or what it is
    bool added;       // whether something was missing
};

// Certificate service, certificate locations, the collections, event service with its script, task
// service, and the default values, in this order.
[[nodiscard]] std::vector<SeededRecord> seedRecords(redisContext* context,
                                                    const std::vector<std::string>& collectionUris);

// Task service and its empty collection of tasks. True when something was added.
bool seedTaskService(redisContext* context);

// Adds the document's members that the resource does not have, nested ones as well. A list that has
// entries keeps them; one that has none gets the document's. True when something was added.
bool seedResource(redisContext* context, const std::string& key, const nlohmann::json& document);
