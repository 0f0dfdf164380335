// From the channel of the daemon's events to open streams.

#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/web/service/event_hub.h"
#include "tests/support/output_capture.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait.h"
#include "tests/web/kept_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;

const std::string URI = "/redfish/v1/Chassis/1/Certificates/1";
constexpr std::time_t NOW = 2000000000;

EventHubOptions quickOptions() {
    EventHubOptions options;
    options.lookDelay = milliseconds(10);
    options.reconnect = milliseconds(10);
    options.time = [] { return NOW; };
    return options;
}

class EventHubTest : public testing::Test {
protected:
    EventHubTest() {
        writeConnectionFiles(server);
    }

    // Once the hub listens.
    void publish(const std::string& text) {
        ASSERT_TRUE(waitUntil([&] {
            return RedisClient(server).command("PUBLISH", RESOURCE_EVENT_CHANNEL, text).integer > 0;
        }));
    }

    void publishEvent(const std::string& uri) {
        publish(R"({"Operation":"add","URI":")" + uri +
                R"(","Type":"Certificate","EventGroupId":"1"})");
    }

    static bool shows(const OpenStream& stream, const std::string& text) {
        return waitUntil([&] { return stream.kept->text().find(text) != std::string::npos; });
    }

    RedisServer server;
    RedisClient redis{server};
    EventStreams streams;
    EventHub hub{streams, quickOptions()};
};

TEST_F(EventHubTest, EveryOpenStreamGetsEachEvent) {
    hub.start();
    const OpenStream first(streams);
    const OpenStream second(streams);
    publishEvent(URI);
    publishEvent("/redfish/v1/Chassis/1/Certificates/2");
    for (const OpenStream* stream : {&first, &second}) {
        EXPECT_TRUE(shows(*stream, "Certificates/2\"}"));
        EXPECT_THAT(stream->kept->text(), testing::StartsWith(": events follow\n\nid: 1\ndata: {"));
        EXPECT_THAT(stream->kept->text(), HasSubstr("}\n\nid: 2\ndata: {"));
    }
}

TEST_F(EventHubTest, TextsOfAnotherFormAreDropped) {
    hub.start();
    const OpenStream stream(streams);
    for (const std::string text :
         {"", "no event", "{}", "[1]", R"({"Operation":"add","URI":5})", "{\"URI\":\"\xff\"}",
          R"({"Operation":"add","URI":"&&/redfish/v1/secret"})"}) {
        publish(text);
    }
    publishEvent(URI);
    EXPECT_TRUE(shows(stream, "id: 1\n"));
    EXPECT_THAT(stream.kept->text(), HasSubstr(URI));
}

TEST_F(EventHubTest, AStopEndsEveryStreamAndNoneBeginsFromThenOn) {
    hub.start();
    const OpenStream stream(streams);
    const StreamStart late = streams.streamFor({"192.0.2.1", ""});
    hub.stop();
    EXPECT_TRUE(stream.kept->hasEnded());
    const auto kept = std::make_shared<KeptStream>();
    const StreamEnd end = late(kept);
    EXPECT_TRUE(kept->hasEnded());
}

TEST_F(EventHubTest, EventsComeAgainWhenRedisDoesAndBothAreSaidOnce) {
    const OutputCapture errors(STDERR_FILENO);
    hub.start();
    const OpenStream stream(streams);
    publishEvent(URI);
    EXPECT_TRUE(shows(stream, "id: 1\n"));
    server.stop();
    EXPECT_TRUE(waitUntil([&] { return !errors.text().empty(); }));
    usleep(200 * 1000); // for attempts that say nothing more
    server.start();
    publishEvent(URI);
    EXPECT_TRUE(shows(stream, "id: 2\n"));
    hub.stop();
    EXPECT_THAT(errors.text(),
                testing::MatchesRegex("certificateweb: no events until this is mended: [^\n]*\n"
                                      "certificateweb: events come again\n"));
}

TEST_F(EventHubTest, CommentsKeepStreamsOpenAlsoWithoutRedis) {
    EventHubOptions options = quickOptions();
    options.keepAlive = milliseconds(10);
    EventHub lively(streams, options);
    const OutputCapture errors(STDERR_FILENO);
    server.stop();
    lively.start();
    const OpenStream stream(streams);
    EXPECT_TRUE(shows(stream, ": still here\n\n: still here\n\n"));
    lively.stop();
}

// --- certificates near their end ----------------------------------------------------------------

class CertificateEvents : public EventHubTest {
protected:
    // A certificate that ends a minute after NOW.
    void storeCertificate(const std::string& uri) {
        redis.command("HSET", uri, "CertificateString", "a", "ValidNotAfter",
                      "\"2033-05-18T03:34:20Z\"");
        redis.command("RPUSH", CERTIFICATE_LOCATIONS_LINKS_KEY, referenceEntry(uri));
    }
};

const std::string WARNING = "ResourceStatusChangedWarning";

TEST_F(CertificateEvents, AreRaisedAtTheStart) {
    storeCertificate(URI);
    const OpenStream stream(streams);
    hub.start();
    EXPECT_TRUE(shows(stream, WARNING));
    EXPECT_THAT(stream.kept->text(), HasSubstr(R"("OriginOfCondition":{"@odata.id":")" + URI));
}

TEST_F(CertificateEvents, AreRaisedAfterAChangeBehindTheEventOfTheChange) {
    EventHubOptions options = quickOptions();
    options.keepAlive = milliseconds(10);
    EventHub lively(streams, options);
    const OpenStream stream(streams);
    lively.start();
    EXPECT_TRUE(shows(stream, ": still here")); // comes behind the look at the start
    storeCertificate(URI);
    publishEvent(URI);
    EXPECT_TRUE(shows(stream, WARNING));
    EXPECT_LT(stream.kept->text().find("ResourceCreated"), stream.kept->text().find(WARNING));
    lively.stop();
}

TEST_F(CertificateEvents, AreRaisedAsTimeGoesBy) {
    EventHubOptions options = quickOptions();
    options.look = milliseconds(10);
    const auto now = std::make_shared<std::atomic<std::time_t>>(0);
    options.time = [now] { return now->load(); };
    storeCertificate(URI);
    EventHub later(streams, options);
    const OpenStream stream(streams);
    later.start();
    publish("listening?");
    EXPECT_THAT(stream.kept->text(), Not(HasSubstr(WARNING)));
    now->store(NOW);
    EXPECT_TRUE(shows(stream, WARNING));
    now->store(NOW + 61);
    EXPECT_TRUE(shows(stream, "ResourceStatusChangedCritical"));
    later.stop();
}

} // namespace
