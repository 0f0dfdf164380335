#pragma once

// What must not grow with the number of certificates in a collection: the cost of the next one.

#include <string>

class RedisServer;

// Creates that many certificates in one collection through a daemon with the backend of that
// folder, then measures in turn one more creation there and one in a collection of ten; prints the
// row.
void measureGrowth(const RedisServer& server, const std::string& backendPath, int certificates,
                   int rounds);
