// watch.

#include "tests/frontend/front_end_program.h"
#include "tests/support/certificates.h"
#include "tests/support/wait.h"

#include <gmock/gmock.h>

namespace {

using nlohmann::json;
using Watching = FrontEndTest;

void awaitReady(const FrontEndProcess& watcher) {
    ASSERT_TRUE(waitUntil([&] {
        return watcher.errors() == "Watching resource events and task states; Ctrl-C ends it.\n";
    }));
}

std::string identity() {
    const TestCertificate made = makeSelfSigned();
    return made.certificate + made.privateKey;
}

TEST_F(Watching, ShowsTheEventsOfACreation) {
    startDaemon();
    FrontEndProcess watcher({"watch", "--json", "--count", "3"});
    awaitReady(watcher);
    EXPECT_EQ(runFrontEnd({"create", COLLECTION, fileWith(identity())}).status, 0);
    const ProgramResult result = watcher.finish();
    EXPECT_EQ(result.status, 0);
    std::vector<json> events;
    for (const std::string& line : splitLines(result.output)) {
        events.push_back(json::parse(line));
    }
    const std::vector<json> expected = {{{"kind", "event"},
                                         {"operation", "add"},
                                         {"uri", members().at(0)},
                                         {"type", "Certificate"},
                                         {"eventGroupId", "1"}},
                                        {{"kind", "event"},
                                         {"operation", "change"},
                                         {"uri", COLLECTION},
                                         {"type", "CertificateCollection"},
                                         {"eventGroupId", "1"}},
                                        {{"kind", "event"},
                                         {"operation", "change"},
                                         {"uri", LOCATIONS},
                                         {"type", "CertificateLocations"},
                                         {"eventGroupId", "1"}}};
    EXPECT_EQ(events, expected);
}

TEST_F(Watching, ShowsTaskStatesInWords) {
    startDaemon();
    FrontEndProcess watcher({"watch", "--count", "3"});
    awaitReady(watcher);
    EXPECT_EQ(runFrontEnd({"generate-csr", COLLECTION, "--cn", "a", "--rsa", "2048"}).status, 0);
    const std::string uri = "  /redfish/v1/TaskService/Tasks/1\n";
    std::string pattern = "^";
    for (const char* state : {"Pending  ", "Running  ", "Completed"}) {
        pattern += "[0-9:]{8}  task   " + std::string(state) + " Task                 " + uri;
    }
    EXPECT_THAT(watcher.finish().output, testing::ContainsRegex(pattern + "$"));
}

TEST_F(Watching, ShowsWhatItDoesNotKnowWithoutControlCharacters) {
    FrontEndProcess watcher({"watch", "--count", "1"});
    awaitReady(watcher);
    client.command("PUBLISH", "TASK_STATE_CHANGE", "odd\x1b[31m");
    EXPECT_THAT(watcher.finish().output,
                testing::ContainsRegex("  other  TASK_STATE_CHANGE  odd\\\\x1b\\[31m\n$"));
}

TEST_F(Watching, EndsAfterTheTimeGiven) {
    const ProgramResult result = runFrontEnd({"watch", "--seconds", "0.2"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST_F(Watching, EndsWithSuccessOnCtrlC) {
    FrontEndProcess watcher({"watch"});
    awaitReady(watcher);
    watcher.interrupt();
    EXPECT_EQ(watcher.finish().status, 0);
}

TEST_F(Watching, TellsThatRedisHasGone) {
    FrontEndProcess watcher({"watch"});
    awaitReady(watcher);
    server.stop();
    const ProgramResult result = watcher.finish();
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, testing::HasSubstr("certificatectl: The connection to Redis is "
                                                  "lost: Server closed the connection\n"));
}

} // namespace
