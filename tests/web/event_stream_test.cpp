// The event service and its streams over HTTPS.

#include "tests/support/certificates.h"
#include "tests/support/wait.h"
#include "tests/web/web_process.h"

#include <array>
#include <ctime>

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string SERVICE = "/redfish/v1/EventService";
const std::string STREAM = SERVICE + "/SSE";
const std::string SUBSCRIPTIONS = SERVICE + "/Subscriptions";
const std::string SESSIONS = "/redfish/v1/SessionService/Sessions";

class EventStreams : public WebTest {
protected:
    EventStreams() {
        login = stranger()->post(SESSIONS, {{"UserName", WEB_USER}, {"Password", WEB_PASSWORD}});
    }

    // A request for the stream, up to the end of the answer's head.
    std::unique_ptr<TlsConnection> open(std::string& head) {
        auto connection = std::make_unique<TlsConnection>(web->port());
        connection->send("GET " + STREAM + " HTTP/1.1\r\nHost: a\r\nX-Auth-Token: " +
                         login.header("X-Auth-Token") + "\r\n\r\n");
        head = connection->readUntil("\r\n\r\n");
        return connection;
    }

    // A stream that has begun.
    std::unique_ptr<TlsConnection> open() {
        std::string head;
        auto connection = open(head);
        EXPECT_THAT(head, HasSubstr("200 OK"));
        const bool hasBegun = head.find("events follow") != std::string::npos;
        EXPECT_TRUE(hasBegun || !connection->readUntil("events follow").empty());
        return connection;
    }

    json members() {
        return client->get(SUBSCRIPTIONS).json()["Members"];
    }

    HttpsAnswer login;
};

// The documents of the stream's events in the text.
std::vector<json> documentsIn(const std::string& text) {
    std::vector<json> documents;
    const std::string mark = "\ndata: ";
    for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
        const std::size_t begin = at + mark.size();
        documents.push_back(json::parse(text.substr(begin, text.find('\n', begin) - begin)));
    }
    return documents;
}

// What comes up to the end of the event that holds the text.
std::string readEvents(TlsConnection& stream, const std::string& text) {
    const std::string read = stream.readUntil(text);
    const bool isWhole = read.find("\n\n", read.rfind(text)) != std::string::npos;
    return isWhole ? read : read + stream.readUntil("\n\n");
}

TEST_F(EventStreams, TheServiceLeadsToItsStreamAndItsSubscriptions) {
    redis.command("HSET", SERVICE, "ServiceEnabled", "true", "&&EVENT_GROUP_ID_COUNTER", "5");
    const HttpsAnswer answer = client->get(SERVICE);
    EXPECT_EQ(answer.status, 200);
    const json service = answer.json();
    EXPECT_EQ(service["@odata.type"], "#EventService.v1_7_0.EventService");
    EXPECT_EQ(service["ServerSentEventUri"], STREAM);
    EXPECT_EQ(service["Subscriptions"]["@odata.id"], SUBSCRIPTIONS);
    EXPECT_THAT(answer.body, Not(HasSubstr("&&")));
}

TEST_F(EventStreams, TheServiceIsThereWithoutARecordOfIt) {
    const json before = client->get(SERVICE).json();
    redis.command("DEL", SERVICE);
    EXPECT_EQ(client->get(SERVICE).json(), before);
}

TEST_F(EventStreams, AreEventStreamsOfNoCookiesAndNoCache) {
    std::string head;
    const auto stream = open(head);
    EXPECT_THAT(head, AllOf(HasSubstr("Content-Type: text/event-stream\r\n"),
                            HasSubstr("OData-Version: 4.0\r\n"),
                            HasSubstr("Cache-Control: no-cache\r\n"), Not(HasSubstr("Cookie"))));
}

TEST_F(EventStreams, AreListedWhileTheyAreOpen) {
    EXPECT_EQ(members(), json::array());
    auto stream = open();
    ASSERT_EQ(members().size(), 1U);
    const std::string uri = members()[0]["@odata.id"];
    const json destination = client->get(uri).json();
    const json expected = {{"@odata.id", uri},
                           {"@odata.type", "#EventDestination.v1_10_0.EventDestination"},
                           {"Id", "1"},
                           {"Name", "Event Stream 1"},
                           {"Description", "An open stream of Server-Sent Events."},
                           {"Context", ""},
                           {"Destination", "https://127.0.0.1"},
                           {"EventFormatType", "Event"},
                           {"Protocol", "Redfish"},
                           {"Status", {{"Health", "OK"}, {"State", "Enabled"}}},
                           {"SubscriptionType", "SSE"}};
    EXPECT_EQ(destination, expected);
    stream.reset();
    EXPECT_TRUE(waitUntil([&] { return members().empty(); }));
    EXPECT_EQ(client->get(uri).status, 404);
}

TEST_F(EventStreams, EndWhenTheirSubscriptionIsDeleted) {
    const auto stream = open();
    const std::string uri = members()[0]["@odata.id"];
    EXPECT_EQ(client->remove(uri).status, 204);
    EXPECT_THAT(stream->readToEnd(), testing::EndsWith("0\r\n\r\n"));
    EXPECT_EQ(client->remove(uri).status, 404);
}

TEST_F(EventStreams, EndWithTheirSession) {
    const auto stream = open();
    EXPECT_EQ(client->remove(login.header("Location")).status, 204);
    EXPECT_THAT(stream->readToEnd(), testing::EndsWith("0\r\n\r\n"));
}

TEST_F(EventStreams, DoNotKeepTheProgramFromItsEnd) {
    const auto stream = open();
    EXPECT_EQ(web->end(), 0);
}

TEST_F(EventStreams, AreForNobodyWithoutALogin) {
    EXPECT_EQ(stranger()->get(STREAM).status, 401);
    EXPECT_EQ(stranger()->get(SUBSCRIPTIONS).status, 401);
    EXPECT_EQ(client->send({"HEAD", STREAM, {}}).header("Content-Type"), "text/event-stream");
    EXPECT_EQ(client->post(SUBSCRIPTIONS, json::object()).status, 405);
}

TEST_F(EventStreams, MoreThanTwentyAreRefused) {
    std::vector<std::unique_ptr<TlsConnection>> streams;
    for (int i = 0; i < 20; ++i) {
        streams.push_back(open());
    }
    const HttpsAnswer refused = client->get(STREAM);
    EXPECT_EQ(refused.status, 503);
    EXPECT_NE(refused.header("Retry-After"), "");
    streams.pop_back();
    EXPECT_TRUE(waitUntil([&] { return members().size() == 19; }));
    (void)open();
}

TEST_F(EventStreams, ShowTheCreationOfACertificate) {
    const auto stream = open();
    const std::string uri = install(serverIdentity());
    const std::string text = readEvents(*stream, "CertificateLocations was changed");
    const std::vector<json> documents = documentsIn(text);
    ASSERT_FALSE(documents.empty()) << text;
    const json event = documents[0]["Events"][0];
    EXPECT_EQ(event["OriginOfCondition"]["@odata.id"], uri);
    EXPECT_EQ(event["EventType"], "ResourceAdded");
    EXPECT_EQ(event["MessageId"], "ResourceEvent.1.0.ResourceCreated");
    EXPECT_NE(event["MemberId"], "");
    EXPECT_THAT(text, AllOf(HasSubstr("id: 1\ndata: {"), HasSubstr("}\n\n"), Not(HasSubstr("&&")),
                            Not(HasSubstr("PRIVATE KEY"))));
}

// A moment as a certificate writes it, "20260131235959Z".
std::string dateIn(int days) {
    const std::time_t moment = std::time(nullptr) + days * 24L * 60 * 60;
    std::tm utc{};
    (void)gmtime_r(&moment, &utc);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y%m%d%H%M%SZ", &utc)};
}

TEST_F(EventStreams, ShowThatACertificateNearsItsEnd) {
    CertificateOptions options;
    options.notAfter = dateIn(20);
    const TestCertificate made = makeSelfSigned(options);
    const auto stream = open();
    const std::string uri = install(made.certificate + made.privateKey);
    const std::string text = readEvents(*stream, "ResourceStatusChangedWarning");
    const json condition = client->get(uri).json()["Status"]["Conditions"][0];
    const std::vector<json> documents = documentsIn(text);
    ASSERT_FALSE(documents.empty()) << text;
    const json event = documents.back()["Events"][0];
    EXPECT_EQ(event["OriginOfCondition"]["@odata.id"], uri);
    EXPECT_EQ(event["EventType"], "StatusChange");
    for (const char* same : {"MessageId", "Message", "MessageArgs", "Severity"}) {
        EXPECT_EQ(event[same], condition[same]) << same;
    }
}

} // namespace
