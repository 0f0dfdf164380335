#include "core/channel_message.h"

RequestKeys splitChannelMessage(const std::string& message) {
    const std::size_t blank = message.find(' ');
    // Without a blank blank + 1 is 0: the whole message again.
    return {message.substr(0, blank), message.substr(blank + 1)};
}
