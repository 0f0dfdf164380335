#pragma once

// The requests that are measured, and what stands in Redis before them.

#include "bench/exchange.h"
#include "bench/replayer.h"
#include "tests/support/request.h"

#include <string>

class RedisClient;

inline constexpr const char* COLLECTION_URI =
    "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";

struct RequestCase {
    std::string name;
    std::string status; // of the answer when all went well
    FrontEndRequest request;
    BareCall bareCall = BareCall::NONE;
    bool onInstalled = false; // works on the certificate that a creation has left
};

[[nodiscard]] RequestCase creationCase(const std::string& certificateText);
[[nodiscard]] RequestCase deletionCase(const std::string& certificateUri);
[[nodiscard]] RequestCase replacementCase(const std::string& certificateUri,
                                          const std::string& certificateText);
[[nodiscard]] RequestCase signingRequestCase();

// What a database holds, as the commands that put it into an empty one. Lifetimes are not kept.
[[nodiscard]] Exchange databaseContent(RedisClient& client);

// The content of a database in which a front end has set up what it keeps: defaults, the event
// service with a loaded script, the certificate locations, and an empty collection; or of one that
// holds the records of the request. Both empty the client's database first.
[[nodiscard]] Exchange frontEndRecords(RedisClient& client);
[[nodiscard]] Exchange requestRecords(RedisClient& client, const FrontEndRequest& request);
