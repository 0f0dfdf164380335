#pragma once

// What the operations of the store answer. Callers outside the store ask only whether it is
// STORE_OK; the numbers themselves stand in the store's messages.

inline constexpr int STORE_OK = 0;
inline constexpr int STORE_MISSING = -2;           // no such resource, or a reply that did not come
inline constexpr int STORE_NO_TYPE = -3;           // the type could not be asked, or is wrong
inline constexpr int STORE_NO_LENGTH = -5;         // the length of a list could not be read
inline constexpr int STORE_NOT_THERE = -6;         // the field or element to remove is not there
inline constexpr int STORE_NOT_CLEARED = -7;       // the list could not be emptied
inline constexpr int STORE_ARRAY_NOT_REMOVED = -8; // the array to be replaced could not be removed
inline constexpr int STORE_BAD_CONFIGURATION = -9; // the array configuration is unusable
