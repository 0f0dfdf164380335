#pragma once

// The count of a collection's members.

#include <string>

struct redisContext;

// Sets the collection's count to the length of its list of members, and gives it a new entity tag.
// Redis does both in one step, so that callers side by side leave no count of an earlier moment.
// Throws FrontEndError (NO_REDIS) when Redis cannot be reached or refuses the command.
void refreshMemberCount(redisContext* context, const std::string& collectionUri);
