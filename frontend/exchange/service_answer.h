#pragma once

// What the daemon answers: the return-status record, the message and the response behind it.
//
// Functions that talk to Redis throw FrontEndError (NO_REDIS) when it fails.

#include <optional>
#include <string>
#include <vector>

struct redisContext;

struct ServiceAnswer {
    std::string status; // "OK", "OK_RES", "OK_EMPTY", "PROCESSING", "FAILURE" or "EXCEPTION"
    std::string location;
    std::string messageId; // empty: none
    std::vector<std::string> messageArgs;
    std::vector<std::string> relatedProperties;
    std::string response; // JSON text of the response; empty: none
    bool isWhole = true;  // whether the message and the response are there that the status names
};

// The answer at the status key; nothing when there is none. A message or response that the status
// record names but that is not there stays empty.
[[nodiscard]] std::optional<ServiceAnswer> readAnswer(redisContext* context,
                                                      const std::string& statusKey);

// Removes the answer's records: the status record, the extended information beside it and the
// response below it.
void removeAnswer(redisContext* context, const std::string& statusKey);

// Whether the request was carried out, or is being carried out.
[[nodiscard]] bool isAccepted(const ServiceAnswer& answer);

// Whether the answer says that there was nothing to do.
[[nodiscard]] bool isNoOperation(const ServiceAnswer& answer);

// The signing request in the response; empty when there is none.
[[nodiscard]] std::string signingRequestOf(const ServiceAnswer& answer);
