#pragma once

// Looks for certificates that near their end or have passed it, and tells of each once.

#include "frontend/web/service/certificate_condition.h"
#include "frontend/web/service/event_document.h"

#include <cstddef>
#include <ctime>
#include <map>
#include <string>
#include <vector>

struct redisContext;

// Belongs to one thread.
class CertificateWatch {
public:
    // An event for each certificate of the certificate locations and their collections that has
    // come into a worse state since the last look, or has another text in such a state. A
    // certificate whose end cannot be read has none. Throws FrontEndError (NO_REDIS) when Redis
    // cannot be reached or refuses a command.
    [[nodiscard]] std::vector<EventFacts> look(redisContext* context, std::time_t now);

private:
    struct Known {
        std::size_t textHash = 0;
        CertificateState worst = CertificateState::GOOD; // that has been told
    };

    [[nodiscard]] Known recall(const std::string& uri, const std::string& text) const;

    std::map<std::string, Known> known; // by URI
};
