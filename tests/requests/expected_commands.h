#pragma once

// The commands that requests have in common, as commandText writes them, one to a line. The request
// is creationRequest() or a like one: record "requests/1", status at STATUS_KEY.

#include <map>
#include <string>
#include <vector>

// The text with every "{NAME}" replaced by the name's value; {COLLECTION} and {LOCATIONS} are
// always known.
[[nodiscard]] std::string filled(std::string text,
                                 const std::map<std::string, std::string>& values = {});

// The commands that write this failure at STATUS_KEY.
[[nodiscard]] std::string failureCommands(const std::string& status, const std::string& messageId,
                                          const std::vector<std::string>& arguments = {});

// The same for the failure of a handler that cannot go on.
[[nodiscard]] std::string defaultFailureCommands();

inline const std::string READ_RECORD = R"(TYPE requests/1
HGETALL requests/1
)";
inline const std::string READ_BODY = R"(TYPE requests/1/body
HGETALL requests/1/body
)";
inline const std::string READ_TYPES =
    filled("LRANGE &&{COLLECTION}/@Redfish.SupportedCertificates 0 -1\n");
inline const std::string PUBLISH_REPLY = "PUBLISH answers/1 status/1/result\n";
inline const std::string TAKE_GROUP = R"(HINCRBY /redfish/v1/EventService &&EVENT_GROUP_ID_COUNTER 1
HGET webDefaultValue MAX_EVENT_GROUP_ID
)";
inline const std::string READ_DIGEST = "HGET redisSHAScripts resourceChange\n";

// The beginning of every status, up to its own fields.
inline const std::string BEGIN_STATUS = R"(HGET webDefaultValue REDIS_CONNECTION_DEFAULT_TIMEOUT
TYPE status/1/result
INCR Array-Member-Sequence-ID
)";

// The end of a status without a message.
inline const std::string WRITE_NO_MESSAGE = R"(TYPE status/1/ExtendedInfo/1
INCR Array-Member-Sequence-ID
EXPIRE status/1/ExtendedInfo/1 6
TYPE status/1/ExtendedInfo
INCR Array-Member-Sequence-ID
RPUSH status/1/ExtendedInfo "\"status/1/ExtendedInfo/1\""
EXPIRE status/1/ExtendedInfo 6
)";
