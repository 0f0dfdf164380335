// Deletion of a certificate, but for what it shares with creation.

#include "requests/delete_certificate.h"
#include "tests/requests/expected_commands.h"
#include "tests/requests/request_fixture.h"
#include "tests/support/fake_backend.h"

namespace {

const std::string CERTIFICATE = COLLECTION + "/1a";
const std::string WRITE_OK =
    BEGIN_STATUS + "HSET status/1/result &&ReturnStatus OK_EMPTY\n" + WRITE_NO_MESSAGE;

class DeleteCertificate : public RequestFixture {
protected:
    DeleteCertificate() {
        client.command("HSET", "webDefaultValue", "MAX_EVENT_GROUP_ID", "100");
        storeRequest(client, deletionRequest(CERTIFICATE));
        // Not needed: a deletion has no body.
        client.command("HDEL", "requests/1", "&&RequestData");
    }

    std::string commandsOfASuccess() {
        return commandsOf([this] {
            pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
            EXPECT_EQ(handleDeleteCertificate(context(), "requests/1", STATUS_KEY, &lock), 1);
        });
    }
};

TEST_F(DeleteCertificate, SendsItsCommandsInThisOrderAndRemovesNoRecord) {
    const std::string digest = loadEventScript();
    EXPECT_EQ(commandsOfASuccess(),
              READ_RECORD + WRITE_OK + TAKE_GROUP + READ_DIGEST +
                  filled("EVALSHA {DIGEST} 15 delete {URI} Certificate EventGroupId 1 change "
                         "{COLLECTION} CertificateCollection EventGroupId 1 change {LOCATIONS} "
                         "CertificateLocations EventGroupId 1\n",
                         {{"DIGEST", digest}, {"URI", CERTIFICATE}}) +
                  PUBLISH_REPLY);
    EXPECT_EQ(backendCalls(), std::vector<std::string>{R"({"certificateUri":")" + CERTIFICATE +
                                                       R"(","handler":"delete"})"});
    EXPECT_EQ(log(), EVENTS_ON_LINE);
}

TEST_F(DeleteCertificate, SucceedsAtOnceWithEventsOff) {
    configure({{"GenerateResourceEvent", "false"}});
    EXPECT_EQ(commandsOfASuccess(), READ_RECORD + WRITE_OK + TAKE_GROUP + PUBLISH_REPLY);
}

TEST_F(DeleteCertificate, TakesAUriWithoutSlashForItsOwnCollection) {
    loadEventScript("return redis.call('RPUSH', 'seen', unpack(KEYS))");
    EXPECT_EQ(finishCertificateDelete(context(), "certificate", STATUS_KEY), 1);
    EXPECT_EQ(client.list("seen").at(6), "certificate");
}

} // namespace
