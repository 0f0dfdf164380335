#pragma once

// Reading a resource with every record behind it, for showing.
//
// The reading operation of the store gives a resource as the daemon sees it, escapes in texts
// dropped; this one keeps what is there, byte for byte, and turns it into JSON on request.

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <utility>
#include <vector>

struct redisContext;

// One Redis hash or list.
struct StoredRecord {
    std::string key;
    bool isList = false;
    std::vector<std::pair<std::string, std::string>> fields; // of a hash, sorted
    std::vector<std::string> entries;                        // of a list, in order
};

// The record at the key, then all nested ones, level by level; each once. Empty when there is no
// hash or list at the key. Referenced resources are left out. Throws FrontEndError when there are
// more than 100000 records.
[[nodiscard]] std::vector<StoredRecord> readStoredTree(redisContext* context,
                                                       const std::string& key);

// The tree as one JSON document. A record that is named a second time shows as empty there. Throws
// FrontEndError when it is nested more than 500 levels deep.
[[nodiscard]] nlohmann::json treeDocument(const std::vector<StoredRecord>& tree);

// readStoredTree, treeDocument. A null document when there is nothing.
[[nodiscard]] nlohmann::json readDocument(redisContext* context, const std::string& key);

// The document as a client of the Redfish service sees it: without the services' own members, whose
// names begin with "&&", at any depth.
[[nodiscard]] nlohmann::json clientView(const nlohmann::json& document);

// Removes the tree at the key, quietly also when there is none.
void removeStoredTree(redisContext* context, const std::string& key);
