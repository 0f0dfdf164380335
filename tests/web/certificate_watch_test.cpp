// Events of certificates that near their end.

#include "core/protocol/keys.h"
#include "core/protocol/redfish_names.h"
#include "frontend/web/service/certificate_watch.h"
#include "tests/support/redis_client.h"
#include "tests/support/redis_server.h"

#include <gtest/gtest.h>

namespace {

const std::string URI = "/redfish/v1/Chassis/1/Certificates/1";

constexpr std::time_t DAY = 24L * 60 * 60;
constexpr std::time_t END = 2208988799;
const std::string END_TEXT = "\"2039-12-31T23:59:59Z\"";

class CertificateWatchTest : public testing::Test {
protected:
    void store(const std::string& uri, const std::string& text, const std::string& end = END_TEXT) {
        redis.command("HSET", uri, "CertificateString", text, "ValidNotAfter", end);
        redis.command("LREM", CERTIFICATE_LOCATIONS_LINKS_KEY, "0", referenceEntry(uri));
        redis.command("RPUSH", CERTIFICATE_LOCATIONS_LINKS_KEY, referenceEntry(uri));
    }

    // The severity and the URI's last letter of each event: "Warning 1".
    std::string look(std::time_t now) {
        std::string told;
        for (const EventFacts& facts : watch.look(redis.context(), now)) {
            EXPECT_EQ(facts.type, "StatusChange");
            told += (told.empty() ? "" : ", ") + facts.severity + " " + facts.origin.back();
        }
        return told;
    }

    RedisServer server;
    RedisClient redis{server};
    CertificateWatch watch;
};

TEST_F(CertificateWatchTest, TellsOfEachStateOnce) {
    store(URI, "a");
    struct Row {
        std::time_t now;
        std::string told;
    };
    for (const Row& row : {Row{END - 31 * DAY, ""}, Row{END - 30 * DAY, "Warning 1"},
                           Row{END - 29 * DAY, ""}, Row{END, ""}, Row{END + 1, "Critical 1"},
                           Row{END + DAY, ""}, Row{END - DAY, ""}, Row{END + DAY, ""}}) {
        EXPECT_EQ(look(row.now), row.told) << row.now;
    }
}

TEST_F(CertificateWatchTest, TellsOfEachCertificateAndEachText) {
    store(URI, "a");
    store("/redfish/v1/Chassis/1/Certificates/2", "b");
    EXPECT_EQ(look(END), "Warning 1, Warning 2");
    store(URI, "c");
    EXPECT_EQ(look(END), "Warning 1");
}

TEST_F(CertificateWatchTest, ACertificateThatWasAwayIsTold) {
    store(URI, "a");
    EXPECT_EQ(look(END), "Warning 1");
    redis.flushAll();
    EXPECT_EQ(look(END), "");
    store(URI, "a");
    EXPECT_EQ(look(END), "Warning 1");
}

TEST_F(CertificateWatchTest, ACertificateWithoutAReadableEndIsPassedOver) {
    for (const std::string end : {"", "\"soon\"", "5"}) {
        store(URI, "a", end);
        EXPECT_EQ(look(END + DAY), "") << end;
    }
    redis.command("DEL", URI);
    EXPECT_EQ(look(END + DAY), "");
    redis.command("HSET", URI, "ValidNotAfter", END_TEXT);
    EXPECT_EQ(look(END + DAY), "Critical 1");
}

TEST_F(CertificateWatchTest, SaysWhatTheResourceSays) {
    store(URI, "a");
    const std::vector<EventFacts> events = watch.look(redis.context(), END + 1);
    ASSERT_EQ(events.size(), 1U);
    const auto message = certificateMessage(URI, END, CertificateState::ENDED);
    EXPECT_EQ(events[0].messageId, message->id);
    EXPECT_EQ(events[0].messageArgs, message->arguments);
    EXPECT_EQ(events[0].message, message->text);
    EXPECT_EQ(events[0].origin, URI);
}

} // namespace
