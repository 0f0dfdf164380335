// Channel messages. Properties: the request key holds no blank, and with one blank and the status
// key behind it makes the message again; a message without a blank is both keys.

#include "core/protocol/messages.h"
#include "fuzz/input.h"
#include "fuzz/property.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string message = Input(data, size).rest();
    const RequestKeys keys = splitChannelMessage(message);
    require(keys.requestKey.find(' ') == std::string::npos, "a request key holds no blank");
    if (message.find(' ') == std::string::npos) {
        requireSame(keys.requestKey, message, "the request key of a message without a blank");
        requireSame(keys.statusKey, message, "the status key of a message without a blank");
    } else {
        requireSame(keys.requestKey + ' ' + keys.statusKey, message, "the keys make the message");
    }
    return 0;
}
