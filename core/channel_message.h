#pragma once

// The message that announces a request: request key, one blank, status key.

#include <string>

struct RequestKeys {
    std::string requestKey;
    std::string statusKey;
};

// Splits at the first blank; further blanks stay in the status key. A message without a blank is
// both keys.
[[nodiscard]] RequestKeys splitChannelMessage(const std::string& message);
