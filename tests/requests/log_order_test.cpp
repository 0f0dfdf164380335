// A failure stands in the log before the front end can learn of it.

#include "requests/create_certificate.h"
#include "requests/delete_certificate.h"
#include "requests/return_status.h"
#include "tests/requests/redis_proxy.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/fake_backend.h"

#include <pthread.h>

namespace {

class LogOrder : public RequestFixture {
protected:
    using Handler = int (*)(redisContext*, const std::string&, const std::string&,
                            pthread_mutex_t*);

    // The log as it stands when a command of this name comes for the first time.
    template <typename Step>
    std::string logAt(const std::string& name, Step step) {
        std::optional<std::string> seen;
        const RedisProxy proxy(server, [&](const Command& command) -> std::optional<std::string> {
            if (!seen && command.front() == name) {
                seen = log();
            }
            return std::nullopt;
        });
        step(proxy.context());
        return seen.value_or("no " + name);
    }

    std::string logAtTheReply(Handler handler, const FrontEndRequest& request) {
        storeRequest(client, request);
        storeCertificateCollection(client, COLLECTION);
        pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
        return logAt("PUBLISH", [&](redisContext* connection) {
            EXPECT_EQ(handler(connection, request.requestKey, request.statusKey, &lock), 0);
        });
    }
};

TEST_F(LogOrder, AFailedCreationIsLoggedBeforeItsReply) {
    setBackendAnswers(R"({"create":{"code":400}})");
    EXPECT_EQ(logAtTheReply(handleCreateCertificate, creationRequest()),
              "[Error]: Create certificate: create certificate error.\n");
}

TEST_F(LogOrder, ADeletionWhoseEventFailsIsLoggedBeforeItsReply) {
    configure({{"LOG_LEVEL", "error"}});
    setBackendAnswers("{}");
    EXPECT_EQ(logAtTheReply(handleDeleteCertificate, deletionRequest(COLLECTION + "/1")),
              "[Error]: Cannot get SHA script resourceChange.\n"
              "[Error]: Delete certificate: create certificate error.\n");
}

TEST_F(LogOrder, ARefusalIsLoggedBeforeItsStatus) {
    const auto refuse = [](redisContext* connection) {
        EXPECT_EQ(refuseRequest(connection, STATUS_KEY, "Reason."), 0);
    };
    EXPECT_EQ(logAt("HGET", refuse), "[Error]: Reason.\n");
}

} // namespace
