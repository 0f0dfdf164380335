#pragma once

// The daemon as a board sees it: size, start, memory, idleness. With the reference backend.

class RedisServer;

// Prints the row of the stripped executable's size.
void measureSize();

// Prints the row of the time from exec until all request channels are subscribed.
void measureStart(const RedisServer& server, int rounds);

// Lets a fresh daemon idle for that long, then answer that many requests, creations and deletions
// in turn; prints the rows of its wake-ups and of its memory.
void measureResidence(const RedisServer& server, double idleSeconds, int requests);
