#pragma once

// One function for each simple Redis command: sends it on the caller's connection, frees the reply
// and reduces it to a flag, a number or a text. Every text is sent as one whole argument, blanks
// included, up to its first NUL. A lost connection shows as the failure value of every later call.
//
// The flags are 1 for success and 0 for failure. Safe on any thread that owns its connection.

#include <hiredis/hiredis.h>

#include <map>
#include <string>
#include <vector>

// The field's value; empty when there is none, the key is no hash, or no reply came.
std::string redisHGet(redisContext* context, const std::string& key, const std::string& field);

// 1 when the field was created or overwritten.
int redisHSet(redisContext* context, const std::string& key, const std::string& field,
              const std::string& value);

// Pushes at the head of the list. On success length is the list's new length.
int redisLPush(redisContext* context, const std::string& key, const std::string& value,
               int& length);
int redisLPush(redisContext* context, const std::string& key, const std::string& value);

// The list's length, 0 for a missing key; -1 when the key is no list or no reply came. A missing
// reply is also told on standard output.
int redisLLen(redisContext* context, const std::string& key);

// 1 when at least one subscriber received the message: an answer that reached nobody is a failure.
int redisPublish(redisContext* context, const std::string& channel, const std::string& message);

// 1 when the key was there and is removed.
int redisDel(redisContext* context, const std::string& key);

// 1 when the key is there and expires in so many seconds.
int redisExpire(redisContext* context, const std::string& key, int seconds);

// Removes count equal elements (all with 0) and returns how many they were; 0 on failure. A missing
// reply is also told on standard output.
int redisLRem(redisContext* context, const std::string& key, int count, const std::string& value);

// 1 when the hash has the field.
int redisHExists(redisContext* context, const std::string& key, const std::string& field);

// 1 whenever a reply came, an error included; result is set only by an integer reply, so the caller
// gives it the value that stands for an error.
int redisHIncrBy(redisContext* context, const std::string& key, const std::string& field,
                 int increment, int& result);

// 1 when the field was there and is removed.
int redisHDel(redisContext* context, const std::string& key, const std::string& field);

// 1 when the key exists.
int redisExists(redisContext* context, const std::string& key);

// Inserts the hash's fields and values into fields, keeping what is there. 0 only without a reply.
// The reply is not freed: this function is for short-lived programs. Throws std::logic_error for a
// field or value without a text.
int redisHGetAll(redisContext* context, const std::string& key,
                 std::map<std::string, std::string>& fields);

// Appends the list's elements to elements. 0 only without a reply; a key that is no list adds
// nothing. Throws std::logic_error for an element without a text.
int redisLRange(redisContext* context, const std::string& key, std::vector<std::string>& elements);

// Sets all fields in one command; the values may hold any bytes. 1 when the server answered OK.
int redisHMSet(redisContext* context, const std::string& key,
               const std::map<std::string, std::string>& fields);
