#pragma once

// Small operations on the lists and hashes of stored resources.

#include <string>

struct redisContext;

// Sets count to the length of the list, 0 for a missing key. False when the key is no list or no
// reply came.
[[nodiscard]] bool getArrayLength(redisContext* context, const std::string& key, long long& count);

// Removes the field. STORE_OK; STORE_NOT_THERE when it is not there; STORE_MISSING without a reply.
int deleteFields(redisContext* context, const std::string& key, const std::string& fields);

// Removes count entries that equal the element, all of them with 0. Results as deleteFields.
int removeArrayElement(redisContext* context, const std::string& key, int count,
                       const std::string& element);

// Empties the array at memberPath of the resource, and with removeNested removes what its elements
// hold. STORE_OK; STORE_NO_TYPE when there is no such resource; STORE_NO_LENGTH when it has no such
// array; STORE_NOT_CLEARED when the list was not emptied; STORE_MISSING without a reply.
int clearArrayElements(redisContext* context, const std::string& uri, const std::string& memberPath,
                       bool removeNested);
