// watch.

#include "tests/frontend/front_end_program.h"
#include "tests/support/wait.h"

namespace {

using nlohmann::json;
using Watching = FrontEndTest;

void awaitReady(const FrontEndProcess& watcher) {
    ASSERT_TRUE(waitUntil([&] {
        return watcher.errors() == "Watching resource events and task states; Ctrl-C ends it.\n";
    }));
}

TEST_F(Watching, TheEventsOfACreationAreShown) {
    startDaemon();
    FrontEndProcess watcher({"watch", "--json", "--count", "3"});
    awaitReady(watcher);
    EXPECT_EQ(runFrontEnd({"create", COLLECTION, fileWith(identity())}).status, 0);
    const ProgramResult result = watcher.finish();
    EXPECT_EQ(result.status, 0);
    std::vector<std::string> events;
    for (const std::string& line : splitLines(result.output)) {
        const json event = json::parse(line);
        EXPECT_EQ(event["kind"], "event");
        EXPECT_THAT(event["time"].get<std::string>(), testing::MatchesRegex("[-0-9T:]{19}Z"));
        EXPECT_EQ(event["eventGroupId"], "1");
        events.push_back(event["operation"].get<std::string>() + " " +
                         event["type"].get<std::string>() + " " + event["uri"].get<std::string>());
    }
    EXPECT_THAT(events, testing::ElementsAre("add Certificate " + members().at(0),
                                             "change CertificateCollection " + COLLECTION,
                                             "change CertificateLocations " + LOCATIONS));
}

TEST_F(Watching, TaskStatesAreShownInWords) {
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

TEST_F(Watching, AnUnknownMessageIsShownWithoutControlCharacters) {
    FrontEndProcess watcher({"watch", "--count", "1"});
    awaitReady(watcher);
    client.command("PUBLISH", "TASK_STATE_CHANGE", "odd\x1b[31m");
    EXPECT_THAT(watcher.finish().output,
                testing::ContainsRegex("  other  TASK_STATE_CHANGE  odd\\\\x1b\\[31m\n$"));
}

TEST_F(Watching, TheWatchEndsAfterTheTimeGiven) {
    const ProgramResult result = runFrontEnd({"watch", "--seconds", "0.2"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
}

TEST_F(Watching, CtrlCEndsTheWatchWithSuccess) {
    FrontEndProcess watcher({"watch"});
    awaitReady(watcher);
    watcher.interrupt();
    EXPECT_EQ(watcher.finish().status, 0);
}

TEST_F(Watching, ALostConnectionIsReported) {
    FrontEndProcess watcher({"watch"});
    awaitReady(watcher);
    server.stop();
    const ProgramResult result = watcher.finish();
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, testing::HasSubstr("certificatectl: The connection to Redis is "
                                                  "lost: Server closed the connection\n"));
}

} // namespace
