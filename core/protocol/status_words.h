#pragma once

// The status words of a return-status record.

inline constexpr char STATUS_OK[] = "OK";             // carried out
inline constexpr char STATUS_OK_RES[] = "OK_RES";     // carried out, with a response or location
inline constexpr char STATUS_OK_EMPTY[] = "OK_EMPTY"; // carried out, with nothing to return
inline constexpr char STATUS_PROCESSING[] = "PROCESSING"; // accepted as a task
inline constexpr char STATUS_FAILURE[] = "FAILURE";       // the request was bad (HTTP 400)
inline constexpr char STATUS_EXCEPTION[] = "EXCEPTION";   // the service failed

// In the place of a message identifier: the status says it all.
inline constexpr char EMPTY_VALUE[] = "";
