#pragma once

// Small operations on the lists and hashes of stored resources.

#include <string>

struct redisContext;

// Sets count to the length of the list, 0 for a missing key. False when the key is no list or no
// reply came.
[[nodiscard]] bool getArrayLength(redisContext* context, const std::string& key, long long& count);

// Removes the field of this name. STORE_NOT_THERE when it is not there; STORE_MISSING without a
// reply; STORE_OK for any other reply: an error, such as for a key of another type, counts as done.
int deleteFields(redisContext* context, const std::string& key, const std::string& fields);

// Removes count entries that equal the element, all of them with 0. Results as deleteFields.
int removeArrayElement(redisContext* context, const std::string& key, int count,
                       const std::string& element);

// Empties the array at memberPath of the resource, and with removeNested removes what its elements
// hold. STORE_MISSING when there is no such resource, or a reply did not come or is an error;
// STORE_NO_TYPE when it is neither hash nor list or its type could not be asked; STORE_NO_LENGTH
// when it has no such array; STORE_NOT_CLEARED when the list was not emptied.
int clearArrayElements(redisContext* context, const std::string& uri, const std::string& memberPath,
                       bool removeNested);
