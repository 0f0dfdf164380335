#pragma once

// The global counter that names the nested keys of array elements, shared by all writers of
// resources: the decimal text of the last id used, under one Redis key.

#include <cstdint>

struct redisContext;

inline constexpr char ARRAY_SEQUENCE_ID_KEY[] = "Array-Member-Sequence-ID";

// Stands in for an id: nested keys are named after members, or by index in an array.
inline constexpr std::int64_t NO_SEQUENCE_ID = -1;

// Claims the first id that a store may use. A counter that cannot be advanced is reset, and the id
// is 1; NO_SEQUENCE_ID when even that fails.
[[nodiscard]] std::int64_t nextArraySequenceId(redisContext* context);

// Writes the counter after a store, given the next free id. True when the server answered OK.
[[nodiscard]] bool setArraySequenceId(redisContext* context, std::int64_t nextFreeId);

// The id after this one: 1 after the largest.
[[nodiscard]] std::int64_t followingSequenceId(std::int64_t id);
