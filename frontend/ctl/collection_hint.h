#pragma once

// What to tell about a certificate collection that is not in Redis, or that refuses a certificate.

#include "frontend/ctl/send_request.h"
#include "frontend/exchange/front_end_error.h"

#include <string>

struct redisContext;

// Of a command that needs the collection (NOT_THERE).
[[nodiscard]] FrontEndError noCollection(const std::string& collectionUri);

// What to do about a refusal that concerns the collection: how it is set up when it is not there,
// which types it takes when it does not take this one. Empty when neither is the reason. Throws
// FrontEndError (NO_REDIS).
[[nodiscard]] std::string refusalHint(redisContext* session, const std::string& collectionUri,
                                      const ServiceAnswer& answer);

// Makes the call, and gives this hint to a ServiceRefusal that ends it.
template <typename Call>
auto withCollectionHint(redisContext* session, const std::string& collectionUri, Call call) {
    try {
        return call();
    } catch (ServiceRefusal& refusal) {
        refusal.hint = refusalHint(session, collectionUri, refusal.answer);
        throw;
    }
}
