// A member that is linked while its collection cannot be updated.
//
// The store refuses an update only for an array configuration, which a creation does not use; this
// program brings a store of its own whose updates fail, so that the failure is answered rightly
// should there ever be one.

#include "requests/create_certificate.h"
#include "store/resource_store.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/fake_backend.h"

#include <nlohmann/json.hpp>

int updateResource(redisContext* /*context*/, const std::string& /*uri*/,
                   const nlohmann::json& /*value*/, const nlohmann::json& /*configuration*/) {
    return STORE_BAD_CONFIGURATION;
}

namespace {

using CollectionUpdateFailure = RequestFixture;

TEST_F(CollectionUpdateFailure, IsLoggedAndAnsweredAndLeavesWhatWasWritten) {
    storeCertificateCollection(client, COLLECTION);
    storeRequest(client, creationRequest());
    setBackendAnswers(FULL_CREATE_ANSWER);
    EXPECT_EQ(createCertificate(context(), "requests/1/body", COLLECTION, STATUS_KEY), 0);
    EXPECT_EQ(log(), "[Error]: Failed to update resource " + COLLECTION +
                         ".\n"
                         "[Error]: Create certificate: update Certificate Collection failed.\n");
    EXPECT_EQ(answer(), DATABASE_ERROR);
    EXPECT_EQ(client.command("LLEN", "&&" + COLLECTION + "/Members").integer, 1);
    EXPECT_EQ(client.hash(COLLECTION).at("Members@odata.count"), "0");
}

} // namespace
