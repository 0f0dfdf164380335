#pragma once

// The requests that are measured, and what stands in Redis before them.

#include "bench/replayer.h"
#include "tests/support/commands.h"
#include "tests/support/request.h"

#include <string>
#include <vector>

inline constexpr const char* COLLECTION_URI =
    "/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates";
inline constexpr const char* MEMBERS_KEY =
    "&&/redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates/Members";
inline constexpr const char* LOCATIONS_KEY =
    "&&/redfish/v1/CertificateService/CertificateLocations/Links/Certificates";

struct RequestCase {
    std::string name;
    RequestKind kind = RequestKind::CREATE;
    std::string status; // of the answer when all went well
    Commands records;   // request record and body
    BareCall bareCall = BareCall::NONE;
    bool onInstalled = false; // works on the certificate that a creation has left
};

// What a front end keeps: defaults, the event service with a loaded script of this digest, the
// certificate locations, and an empty collection.
[[nodiscard]] Commands frontEndRecords(const std::string& eventScriptDigest);

[[nodiscard]] RequestCase creationCase(const std::string& certificateText);
[[nodiscard]] RequestCase deletionCase(const std::string& certificateUri);
[[nodiscard]] RequestCase replacementCase(const std::string& certificateUri,
                                          const std::string& certificateText);
[[nodiscard]] RequestCase signingRequestCase();
