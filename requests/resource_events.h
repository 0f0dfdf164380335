#pragma once

// Resource life-cycle events: the daemon tells the event service which resources a request touched
// by running the script that the service has loaded into Redis (EVALSHA), with one group of five
// texts for each resource:
//
//   operation ("add", "change" or "delete"), URI, type name, "EventGroupId", identifier in decimal
//
// Configuration key GenerateResourceEvent switches events off when it is exactly "false"; it is
// read once in the life of the process. A failed event never undoes the change that it reports.

#include <cstdint>
#include <string>
#include <vector>

class Logger;
struct redisContext;

// The groups of a certificate that was created ("add") or removed ("delete"): the certificate, its
// collection and the certificate locations, all with the same identifier.
[[nodiscard]] std::vector<std::string> memberEventArguments(const std::string& operation,
                                                            const std::string& certificateUri,
                                                            const std::string& collectionUri,
                                                            std::uint32_t eventGroupId);

// The one group of a certificate that was replaced.
[[nodiscard]] std::vector<std::string> replacementEventArguments(const std::string& certificateUri,
                                                                 std::uint32_t eventGroupId);

// Raises the events: 1 when the script ran or events are switched off, 0 otherwise.
int generateResourceEvent(redisContext* context, const std::vector<std::string>& arguments);

// Runs the script: 1 when it returned an integer, 0 otherwise, with the reason in the log unless
// the connection was lost. The texts must not contain blanks, which would part them.
int runResourceChangeScript(redisContext* context, const std::vector<std::string>& arguments,
                            Logger* logger);
