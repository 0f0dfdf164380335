#pragma once

// The answer side of the envelope: the record that the front end finds at the status key of its
// request, and the publishing of that key on the request's return channel.
//
// The record is a hash with "&&ReturnStatus", optionally "&&ExtendedInfo" (the key of the extended
// information) and what the handler adds. The extended information always holds one message:
//
//   extKey  = status key up to its last "/", then "ExtendedInfo"   list of one: elemKey
//   elemKey = extKey "/1"                   "&&MessageId", "&&MessageArgs", "&&RelatedProperties"
//   argsKey = elemKey "/MessageArgs"                               list of the arguments
//   relKey  = elemKey "/RelatedProperties"                         list of the properties
//
// All functions use only the caller's connection and may run in several threads at once. What goes
// wrong is logged; keys written before a failure stay.

#include "platform/certificate_backend.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

struct redisContext;

// Writes the record with data (an object) as its base. The extended information is written even
// when messageId is empty, as an empty message that the record does not point at. With setExpiry
// every key of the extended information expires; the status key itself is the front end's. False
// when a step failed and the rest was left out.
bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs,
                       const std::vector<std::string>& relatedProperties, bool setExpiry);
bool writeReturnStatus(redisContext* context, const std::string& statusKey, nlohmann::json data,
                       const std::string& status, const std::string& messageId,
                       const std::vector<std::string>& messageArgs, bool setExpiry);

// The answer before any decision: "EXCEPTION" with DatabaseOperationError.
void writeDefaultReturnStatus(redisContext* context, const std::string& statusKey);

// Ends a request that cannot be carried out: logs the reason and writes the default answer. Returns
// 0, the result of a handler that stops.
int refuseRequest(redisContext* context, const std::string& statusKey, const char* reason);

// The answer when the collection lock stays taken: "EXCEPTION" with ServiceTemporarilyUnavailable,
// to be tried again in a second.
void writeBusyReturnStatus(redisContext* context, const std::string& statusKey);

// The answer for a result code of the certificate backend other than 200.
void writeErrorReturnStatus(redisContext* context, const std::string& statusKey, std::int32_t code,
                            const MessageInfo& info);

// The status word of a failed backend result: "FAILURE" for 400, "EXCEPTION" for any other code.
[[nodiscard]] const char* errorStatus(std::int32_t code);

// The message identifier of a failed backend result: the backend's own, or a general one.
[[nodiscard]] std::string errorMessageId(std::int32_t code, const MessageInfo& info);

// Tells the front end that the record is there.
void publishReply(redisContext* context, const std::string& returnChannel,
                  const std::string& statusKey);
