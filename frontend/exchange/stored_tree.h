#pragma once

// Reading a resource with every record behind it, for showing.
//
// The reading operation of the store gives a resource as the daemon sees it, without the escapes in
// texts; this one keeps what is there, byte for byte, and turns it into JSON on request.
//
// Functions that talk to Redis throw FrontEndError (NO_REDIS) when it fails.

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
// hash or list at the key. Referenced resources are left out. Throws FrontEndError (TOO_LARGE) when
// there are more than 100000 records.
[[nodiscard]] std::vector<StoredRecord> readStoredTree(redisContext* context,
                                                       const std::string& key);

// The keys of these records alone; the values of hashes are not read.
[[nodiscard]] std::vector<std::string> readStoredKeys(redisContext* context,
                                                      const std::string& key);

// The tree as one JSON document, null for an empty tree. A record that is named a second time shows
// as empty there. Throws FrontEndError (TOO_LARGE) when it is nested more than 500 levels deep.
[[nodiscard]] nlohmann::json treeDocument(const std::vector<StoredRecord>& tree);

// readStoredTree, treeDocument. A null document when there is nothing.
[[nodiscard]] nlohmann::json readDocument(redisContext* context, const std::string& key);

// The document as a client of the Redfish service sees it: without what is the services' own,
// members whose names begin with "&&" and texts that begin so, at any depth.
[[nodiscard]] nlohmann::json clientView(const nlohmann::json& document);

// Removes the tree at the key, if there is one, without reading the values of its hashes: a
// request's body may hold a private key.
void removeStoredTree(redisContext* context, const std::string& key);
