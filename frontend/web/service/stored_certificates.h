#pragma once

// Which certificate collections and certificates Redis holds.
//
// Functions throw FrontEndError (NO_REDIS) when Redis cannot be reached or refuses a command.

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

struct redisContext;

// Whether a certificate collection stands there, by its stored type.
[[nodiscard]] bool holdsCollection(redisContext* context, const std::string& uri);

// What stands at a URI.
enum class StoredPlace {
    NOTHING,
    COLLECTION,
    MEMBERS,     // of a collection: takes what the collection takes
    CERTIFICATE, // of a collection
    REMAINS      // lists name a certificate of a collection that does not stand there any more
};

// By the stored types of the resource and of the collection; NOTHING for any other resource.
[[nodiscard]] StoredPlace placeAt(redisContext* context, const std::string& uri);

// The certificates among the members of the collection, in their stored order. Those that do not
// stand there, or elsewhere than below the collection, are left out.
[[nodiscard]] std::vector<std::string> collectionMembers(redisContext* context,
                                                         const std::string& collectionUri);

// The members of all collections that are known: this one, and those of the certificates that the
// certificate locations name.
[[nodiscard]] std::vector<std::string> allCertificates(redisContext* context,
                                                       const std::string& collectionUri);

// The certificate that stands there as it is shown (certificateView); null when it has gone.
[[nodiscard]] nlohmann::json readCertificate(redisContext* context, const std::string& uri);

// References to the resources: [{"@odata.id": uri}, ...].
[[nodiscard]] nlohmann::json referencesTo(const std::vector<std::string>& uris);
