// ping.

#include "tests/frontend/front_end_program.h"
#include "tests/support/wait.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using Ping = FrontEndTest;

const std::string DEAF = "certificatectl: Nobody listens on channel "
                         "&&/redfish/v1/CertificateService/CreateNewCertificate.";
const std::string DEAF_HINT =
    "  A daemon that runs all the same was dropped by Redis and hears nothing more: restart it.\n";

TEST_F(Ping, AnAnswerIsTimedAndNothingIsChanged) {
    startDaemon();
    const std::string before = client.dumpAll();
    const ProgramResult words = runFrontEnd({"ping"});
    EXPECT_EQ(words.status, 0) << words.errors;
    EXPECT_THAT(words.output, MatchesRegex("The daemon answered in [0-9.]+ m?s\\.\n"));
    const nlohmann::json document = runFrontEnd({"ping", "--json"}).json();
    EXPECT_EQ(document["answered"], true);
    EXPECT_GT(document["seconds"], 0.0);
    client.command("DEL", "Array-Member-Sequence-ID"); // the daemon numbers what it answers
    EXPECT_EQ(client.dumpAll(), before);
}

TEST_F(Ping, ADaemonWhoseSubscriptionsRedisHasDroppedIsDeaf) {
    startDaemon();
    client.command("CLIENT", "KILL", "TYPE", "pubsub");
    EXPECT_EQ(runFrontEnd({"ping"}), (ProgramResult{4, "", DEAF + "\n" + DEAF_HINT}));
    EXPECT_TRUE(daemon->running());
}

TEST_F(Ping, EachOfTheThreeListenersIsAskedFor) {
    const std::string service = "&&/redfish/v1/CertificateService/";
    RedisClient listener(server);
    listener.command("SUBSCRIBE", service + "CreateNewCertificate");
    EXPECT_THAT(runFrontEnd({"ping"}).errors, HasSubstr("channel " + service + "DeleteCert"));
    listener.command("SUBSCRIBE", service + "DeleteCertificate");
    EXPECT_THAT(runFrontEnd({"ping"}).errors, HasSubstr("channel " + service + "ACTION_CHANNEL."));
}

TEST_F(Ping, ADaemonWhoseIdleConnectionRedisHasDroppedGivesNoAnswer) {
    startDaemon();
    client.command("CLIENT", "KILL", "TYPE", "normal");
    const ProgramResult result = runFrontEnd({"ping", "--timeout", "0.5"});
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.errors, StartsWith("certificatectl: The daemon listens, but gave no answer "
                                          "within 0.5 seconds.\n"));
    EXPECT_EQ(requestKeys(), std::vector<std::string>{});
}

TEST_F(Ping, ASilentDaemonIsAskedAsOftenAsToldTo) {
    EXPECT_EQ(
        runFrontEnd({"ping", "--tries", "3", "--pause", "0.01"}),
        (ProgramResult{
            4, "", DEAF + " (try 1 of 3)\n" + DEAF + " (try 2 of 3)\n" + DEAF + "\n" + DEAF_HINT}));
}

TEST_F(Ping, AnAnswerToALaterTryIsAnAnswer) {
    FrontEndProcess program({"ping", "--tries", "100000", "--pause", "0.1"});
    ASSERT_TRUE(waitUntil([&] { return !program.errors().empty(); }));
    startDaemon();
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, StartsWith("The daemon answered in "));
}

TEST_F(Ping, ARedisThatIsNotThereEndsItAtTheFirstTry) {
    server.stop();
    EXPECT_EQ(runFrontEnd({"ping", "--tries", "3", "--pause", "1000"}).status, 3);
}

TEST_F(Ping, CtrlCEndsThePauseBetweenTwoTries) {
    FrontEndProcess program({"ping", "--tries", "3", "--pause", "1000"});
    ASSERT_TRUE(waitUntil([&] { return !program.errors().empty(); }));
    program.interrupt();
    EXPECT_EQ(program.finish().status, 130);
}

} // namespace
