// The event streams that clients hold open.

#include "frontend/web/service/answer.h"
#include "tests/support/wait.h"
#include "tests/web/kept_stream.h"
#include "tests/web/resource_requests.h"

#include <gtest/gtest.h>

namespace {

class EventStreamsTest : public testing::Test {
protected:
    EventStreams streams{2};
};

TEST_F(EventStreamsTest, ListsStreamsFromTheirBeginningToTheirEnd) {
    const StreamStart waiting = streams.streamFor({"192.0.2.7", ""});
    EXPECT_TRUE(streams.list().empty());
    const OpenStream stream(streams);
    ASSERT_EQ(streams.list().size(), 1U);
    EXPECT_EQ(streams.list()[0].client.address, "192.0.2.1");
    stream.end();
    EXPECT_TRUE(streams.list().empty());
}

TEST_F(EventStreamsTest, MoreStreamsThanTheLimitAreRefusedAndEndedOnesMakeRoom) {
    const OpenStream first(streams);
    {
        const StreamStart dropped = streams.streamFor({"192.0.2.1", ""});
        EXPECT_THROW((void)streams.streamFor({"192.0.2.1", ""}), Refusal);
    }
    const OpenStream second(streams);
    EXPECT_THROW((void)streams.streamFor({"192.0.2.1", ""}), Refusal);
    first.end();
    EXPECT_NO_THROW((void)streams.streamFor({"192.0.2.1", ""}));
}

TEST_F(EventStreamsTest, AStreamIsEndedByItsIdentifier) {
    const OpenStream stream(streams);
    const OpenStream other(streams);
    EXPECT_FALSE(streams.close("no stream"));
    EXPECT_TRUE(streams.close(streams.list()[0].id));
    EXPECT_TRUE(stream.kept->hasEnded());
    EXPECT_FALSE(other.kept->hasEnded());
    EXPECT_EQ(streams.list().size(), 1U);
    stream.end(); // as the server says it later
    EXPECT_EQ(streams.list().size(), 1U);
}

TEST_F(EventStreamsTest, ASessionsStreamsEndWithIt) {
    const OpenStream stream(streams, {"192.0.2.1", "a"});
    const OpenStream other(streams, {"192.0.2.1", "b"});
    streams.closeOf("a");
    EXPECT_TRUE(stream.kept->hasEnded());
    EXPECT_FALSE(other.kept->hasEnded());
}

TEST_F(EventStreamsTest, StreamsOfClientsThatMayNotStayEnd) {
    const OpenStream stream(streams, {"192.0.2.1", "a"});
    const OpenStream other(streams, {"192.0.2.1", "b"});
    streams.closeUnless([](const StreamClient& client) { return client.sessionId == "b"; });
    EXPECT_TRUE(stream.kept->hasEnded());
    EXPECT_FALSE(other.kept->hasEnded());
}

TEST_F(ResourceRequests, AStreamEndsWhenItsSessionIsGone) {
    service.events.start();
    const auto made = service.sessions.open("operator", "192.0.2.1");
    const OpenStream stream(service.streams, {"192.0.2.1", made->session.id});
    const OpenStream withoutSession(service.streams);
    EXPECT_FALSE(stream.kept->hasEnded());
    EXPECT_TRUE(service.sessions.close(made->session.id));
    EXPECT_TRUE(waitUntil([&] { return stream.kept->hasEnded(); }));
    EXPECT_FALSE(withoutSession.kept->hasEnded());
}

} // namespace
