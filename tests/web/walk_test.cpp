// A walk over everything that the root leads to.

#include "frontend/records/certificate_records.h"
#include "tests/support/certificates.h"
#include "tests/support/wait.h"
#include "tests/web/redfish_schema.h"
#include "tests/web/web_process.h"

#include <deque>
#include <map>

namespace {

using testing::Contains;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string ROOT = "/redfish/v1/";
const std::string SESSIONS = ROOT + "SessionService/Sessions";
const std::string TASKS = ROOT + "TaskService/Tasks";
const std::string SUBSCRIPTIONS = ROOT + "EventService/Subscriptions";

// With a resource of every kind: certificates, a session, a task that has ended, an event stream.
class Walk : public WebTest {
protected:
    Walk() : stream(web->port()) {
        store(COLLECTION + "/good", {});
        store(COLLECTION + "/ended", {.notAfter = "20240101000000Z"});
        const HttpsAnswer session =
            stranger()->post(SESSIONS, {{"UserName", WEB_USER}, {"Password", WEB_PASSWORD}});
        (void)stream.send("GET /redfish/v1/EventService/SSE HTTP/1.1\r\nHost: a\r\nX-Auth-Token: " +
                          session.header("X-Auth-Token") + "\r\n\r\n");
        (void)stream.readUntil("\r\n\r\n");
        const HttpsAnswer task =
            client->post(GENERATE_CSR, {{"CertificateCollection", {{"@odata.id", COLLECTION}}},
                                        {"CommonName", "a.example"},
                                        {"KeyPairAlgorithm", "TPM_ALG_RSA"},
                                        {"KeyBitLength", 2048}});
        awaitEnd(task.header("Location"));
    }

    void awaitEnd(const std::string& monitor) {
        EXPECT_TRUE(waitUntil([&] { return client->get(monitor).status == 200; }));
    }

    // Every resource that the root leads to, by its URI.
    std::map<std::string, HttpsAnswer> walk() {
        std::map<std::string, HttpsAnswer> seen;
        std::deque<std::string> waiting = {ROOT};
        while (!waiting.empty()) {
            const std::string uri = waiting.front();
            waiting.pop_front();
            if (seen.count(uri) > 0) {
                continue;
            }
            const HttpsAnswer& answer = seen[uri] = client->get(uri);
            if (answer.status == 200) {
                const std::vector<std::string> links = linksOf(answer.json());
                waiting.insert(waiting.end(), links.begin(), links.end());
            }
        }
        return seen;
    }

    void store(const std::string& uri, const CertificateOptions& options) {
        const TestCertificate certificate = makeSelfSigned(options);
        ASSERT_TRUE(restoreCertificateRecords(redis.context(), uri,
                                              {certificate.certificate, "PEM", "/keys/secret"}));
    }

    TlsConnection stream;
};

TEST_F(Walk, EveryLinkLeadsToAValidResource) {
    const std::string metadata = client->get("/redfish/v1/$metadata").body;
    const std::map<std::string, HttpsAnswer> resources = walk();
    for (const std::string& kind : {COLLECTION, SESSIONS, TASKS, SUBSCRIPTIONS}) {
        EXPECT_THAT(resources, Contains(testing::Key(StartsWith(kind + "/"))));
    }
    for (const auto& [uri, answer] : resources) {
        SCOPED_TRACE(uri);
        ASSERT_EQ(answer.status, 200);
        const nlohmann::json document = answer.json();
        EXPECT_THAT(schemaFaults(document), IsEmpty());
        EXPECT_EQ(document["@odata.id"], uri);
        if (document.contains("Members")) {
            EXPECT_EQ(document["Members@odata.count"], document["Members"].size());
        }
        const std::string type = document.value("@odata.type", "#");
        EXPECT_THAT(metadata, HasSubstr("\"" + type.substr(1, type.rfind('.') - 1) + "\""));
        EXPECT_THAT(answer.body, Not(ContainsRegex("&&|PRIVATE|secret")));
    }
}

TEST_F(Walk, EveryAnswerHasTheHeadersOfTheProtocolAndAsHeadToo) {
    for (const auto& [uri, answer] : walk()) {
        SCOPED_TRACE(uri);
        EXPECT_EQ(answer.header("Content-Type"), "application/json; charset=utf-8");
        EXPECT_EQ(answer.header("OData-Version"), "4.0");
        EXPECT_NE(answer.header("Cache-Control"), "");
        EXPECT_THAT(answer.header("Allow"), HasSubstr("GET, HEAD"));
        const std::string type = answer.json().value("@odata.type", "#.");
        EXPECT_EQ(answer.header("Link"), "<http://redfish.dmtf.org/schemas/v1/" +
                                             type.substr(1, type.rfind('.') - 1) +
                                             ".json>; rel=describedby");
        const std::string tag = answer.header("ETag");
        EXPECT_THAT(tag, testing::MatchesRegex("\"[^\"]+\""));
        const std::string shown = answer.json().value("@odata.etag", tag);
        EXPECT_TRUE(shown == tag || '"' + shown + '"' == tag) << shown << " " << tag;
        const HttpsAnswer head = client->send({"HEAD", uri, std::nullopt});
        EXPECT_EQ(head.status, 200);
        EXPECT_EQ(head.body, "");
        EXPECT_EQ(head.header("ETag"), tag);
        const HttpsAnswer known = client->get(uri, {{"If-None-Match", tag}});
        EXPECT_EQ(known.status, 304);
        EXPECT_EQ(known.body, "");
    }
}

TEST_F(Walk, OnlyTheRootIsOpenToAStranger) {
    for (const auto& [uri, answer] : walk()) {
        EXPECT_EQ(stranger()->get(uri).status, uri == ROOT ? 200 : 401) << uri;
    }
}

} // namespace
