// From the channel of the daemon's events to open streams.

#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/web/service/answer.h"
#include "frontend/web/service/event_hub.h"
#include "tests/support/output_capture.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"
#include "tests/support/wait.h"

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

// Keeps what it is sent.
class KeptStream : public EventSink {
public:
    void send(std::string text) override {
        const std::lock_guard lock(mutex);
        sent += text;
    }

    void end() override {
        const std::lock_guard lock(mutex);
        ended = true;
    }

    std::string text() {
        const std::lock_guard lock(mutex);
        return sent;
    }

    bool hasEnded() {
        const std::lock_guard lock(mutex);
        return ended;
    }

private:
    std::mutex mutex;
    std::string sent;
    bool ended = false;
};

// A stream as the server holds it.
struct OpenStream {
    std::shared_ptr<KeptStream> kept = std::make_shared<KeptStream>();
    StreamEnd end;
};

EventHubOptions quickOptions() {
    EventHubOptions options;
    options.mostStreams = 2;
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

    static OpenStream open(EventHub& hub, const StreamClient& client = {"192.0.2.1", ""}) {
        OpenStream stream;
        stream.end = hub.streamFor(client)(stream.kept);
        return stream;
    }

    OpenStream open() {
        return open(hub);
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
    EventHub hub{quickOptions()};
};

TEST_F(EventHubTest, EveryOpenStreamGetsEachEvent) {
    hub.start();
    const OpenStream first = open();
    const OpenStream second = open();
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
    const OpenStream stream = open();
    for (const std::string text :
         {"", "no event", "{}", "[1]", R"({"Operation":"add","URI":5})", "{\"URI\":\"\xff\"}",
          R"({"Operation":"add","URI":"&&/redfish/v1/secret"})"}) {
        publish(text);
    }
    publishEvent(URI);
    EXPECT_TRUE(shows(stream, "id: 1\n"));
    EXPECT_THAT(stream.kept->text(), HasSubstr(URI));
}

TEST_F(EventHubTest, ListsStreamsFromTheirBeginningToTheirEnd) {
    const StreamStart waiting = hub.streamFor({"192.0.2.7", ""});
    EXPECT_TRUE(hub.list().empty());
    const OpenStream stream = open();
    ASSERT_EQ(hub.list().size(), 1U);
    EXPECT_EQ(hub.list()[0].client.address, "192.0.2.1");
    stream.end();
    EXPECT_TRUE(hub.list().empty());
}

TEST_F(EventHubTest, MoreStreamsThanTheLimitAreRefusedAndEndedOnesMakeRoom) {
    const OpenStream first = open();
    {
        const StreamStart dropped = hub.streamFor({"192.0.2.1", ""});
        EXPECT_THROW((void)hub.streamFor({"192.0.2.1", ""}), Refusal);
    }
    const OpenStream second = open();
    EXPECT_THROW((void)hub.streamFor({"192.0.2.1", ""}), Refusal);
    first.end();
    EXPECT_NO_THROW((void)hub.streamFor({"192.0.2.1", ""}));
}

TEST_F(EventHubTest, AStreamIsEndedByItsIdentifier) {
    const OpenStream stream = open();
    const OpenStream other = open();
    EXPECT_FALSE(hub.close("no stream"));
    EXPECT_TRUE(hub.close(hub.list()[0].id));
    EXPECT_TRUE(stream.kept->hasEnded());
    EXPECT_FALSE(other.kept->hasEnded());
    EXPECT_EQ(hub.list().size(), 1U);
    stream.end(); // as the server says it later
    EXPECT_EQ(hub.list().size(), 1U);
}

TEST_F(EventHubTest, ASessionsStreamsEndWithIt) {
    const OpenStream stream = open(hub, {"192.0.2.1", "a"});
    const OpenStream other = open(hub, {"192.0.2.1", "b"});
    hub.closeOf("a");
    EXPECT_TRUE(stream.kept->hasEnded());
    EXPECT_FALSE(other.kept->hasEnded());
}

TEST_F(EventHubTest, AStopEndsEveryStreamAndNoneBeginsFromThenOn) {
    hub.start();
    const OpenStream stream = open();
    const StreamStart late = hub.streamFor({"192.0.2.1", ""});
    hub.stop();
    EXPECT_TRUE(stream.kept->hasEnded());
    const auto kept = std::make_shared<KeptStream>();
    const StreamEnd end = late(kept);
    EXPECT_TRUE(kept->hasEnded());
}

TEST_F(EventHubTest, EventsComeAgainWhenRedisDoesAndBothAreSaidOnce) {
    const OutputCapture errors(STDERR_FILENO);
    hub.start();
    const OpenStream stream = open();
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
    EventHub lively(options);
    const OutputCapture errors(STDERR_FILENO);
    server.stop();
    lively.start();
    const OpenStream stream = open(lively);
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
    const OpenStream stream = open();
    hub.start();
    EXPECT_TRUE(shows(stream, WARNING));
    EXPECT_THAT(stream.kept->text(), HasSubstr(R"("OriginOfCondition":{"@odata.id":")" + URI));
}

TEST_F(CertificateEvents, AreRaisedAfterAChangeBehindTheEventOfTheChange) {
    EventHubOptions options = quickOptions();
    options.keepAlive = milliseconds(10);
    EventHub lively(options);
    const OpenStream stream = open(lively);
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
    EventHub later(options);
    const OpenStream stream = open(later);
    later.start();
    publish("listening?");
    EXPECT_THAT(stream.kept->text(), Not(HasSubstr(WARNING)));
    now->store(NOW);
    EXPECT_TRUE(shows(stream, WARNING));
    now->store(NOW + 61);
    EXPECT_TRUE(shows(stream, "ResourceStatusChangedCritical"));
    later.stop();
}

TEST_F(EventHubTest, ListenersAreToldOfConnectionsAndEvents) {
    std::atomic<int> told = 0;
    hub.onChange([&told] { ++told; });
    hub.start();
    EXPECT_TRUE(waitUntil([&] { return told == 1; }));
    publish("no event");
    publishEvent(URI);
    EXPECT_TRUE(waitUntil([&] { return told == 2; }));
    hub.stop();
    EXPECT_EQ(told, 2);
}

} // namespace
