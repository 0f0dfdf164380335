#pragma once

// The certificate types that a collection takes: its list "@Redfish.SupportedCertificates".

#include "requests/return_status.h"

#include <string>

// True when the collection's list holds the type. False also for a list that is missing or cannot
// be read.
[[nodiscard]] bool isSupportedCertificateType(redisContext* context,
                                              const std::string& collectionUri,
                                              const std::string& certificateType);

// The same; a type that is not supported is answered with PropertyValueNotInList. Nothing is
// logged.
[[nodiscard]] bool acceptsCertificateType(const AnswerPlace& place,
                                          const std::string& collectionUri,
                                          const std::string& certificateType);
