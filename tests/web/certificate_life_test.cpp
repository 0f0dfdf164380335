// Certificates installed, replaced and deleted over HTTPS.

#include "frontend/records/certificate_records.h"
#include "tests/support/certificates.h"
#include "tests/web/web_process.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

class WebCertificates : public WebTest {
protected:
    // Keys that hold a request or its answer.
    std::vector<std::string> requestKeys() {
        std::vector<std::string> keys = redis.keys();
        std::erase_if(keys, [](const std::string& key) {
            return key.find("/CertificateService/Requests/") == std::string::npos;
        });
        return keys;
    }

    // The URIs that a list of references holds, sorted.
    static std::vector<std::string> urisIn(const json& references) {
        std::vector<std::string> uris;
        for (const json& reference : references) {
            uris.push_back(reference["@odata.id"].get<std::string>());
        }
        std::sort(uris.begin(), uris.end());
        return uris;
    }

    // Members, count and locations are these, in what is shown and in what is stored.
    void expectMembers(std::vector<std::string> uris) {
        const json collection = client->get(COLLECTION).json();
        EXPECT_THAT(urisIn(collection["Members"]), UnorderedElementsAreArray(uris));
        EXPECT_EQ(collection["Members@odata.count"], uris.size());
        const json locations = client->get(LOCATIONS).json();
        EXPECT_THAT(urisIn(locations["Links"]["Certificates"]), UnorderedElementsAreArray(uris));
        EXPECT_THAT(redis.list("&&" + COLLECTION + "/Members"), SizeIs(uris.size()));
        EXPECT_THAT(redis.list("&&" + LOCATIONS + "/Links/Certificates"), SizeIs(uris.size()));
        EXPECT_EQ(redis.hash(COLLECTION)["Members@odata.count"], std::to_string(uris.size()));
    }

    HttpsAnswer replace(const std::string& uri, const std::string& text) {
        json body = creationOf(text);
        body["CertificateUri"] = {{"@odata.id", uri}};
        return client->post(REPLACE_CERTIFICATE, body);
    }
};

TEST_F(WebCertificates, AreInstalledAndShownAtOnce) {
    for (const std::string& target : {COLLECTION, COLLECTION + "/Members"}) {
        const HttpsAnswer answer = client->post(target, creationOf(serverIdentity("b.example")));
        ASSERT_EQ(answer.status, 201) << answer.body;
        const std::string uri = answer.header("Location");
        EXPECT_THAT(uri, StartsWith(COLLECTION + "/"));
        EXPECT_EQ(answer.json()["@odata.id"], uri);
        EXPECT_EQ(answer.json()["Subject"]["CommonName"], "b.example");
        EXPECT_EQ(answer.json(), client->get(uri).json());
        EXPECT_THAT(answer.body, Not(HasSubstr("PRIVATE KEY")));
    }
    EXPECT_THAT(requestKeys(), IsEmpty());
}

TEST_F(WebCertificates, GoFromAllThreePlaces) {
    const std::string kept = install(serverIdentity("a.example"));
    const std::string uri = install(serverIdentity("b.example"));
    expectMembers({kept, uri});
    EXPECT_EQ(client->remove(uri).status, 204);
    expectMembers({kept});
    EXPECT_EQ(client->get(uri).status, 404);
    EXPECT_EQ(client->remove(uri).status, 404);
    EXPECT_THAT(redis.dumpAll(), Not(HasSubstr(uri)));
    EXPECT_THAT(requestKeys(), IsEmpty());
}

TEST_F(WebCertificates, ThatTheBackendDoesNotKnowCanBeDeleted) {
    const std::string ghost = COLLECTION + "/1";
    ASSERT_TRUE(restoreCertificateRecords(redis.context(), ghost,
                                          {makeSelfSigned().certificate, "PEM", "/key"}));
    expectMembers({ghost});
    EXPECT_EQ(client->remove(ghost).status, 204);
    expectMembers({});
    EXPECT_THAT(redis.dumpAll(), Not(HasSubstr(ghost)));
}

TEST_F(WebCertificates, ThatOnlyListsStillNameCanBeDeleted) {
    const std::string gone = COLLECTION + "/1";
    for (const std::string& owner : {COLLECTION + "/Members", LOCATIONS + "/Links/Certificates"}) {
        redis.command("LPUSH", "&&" + owner, "&&ObjectRef " + gone);
        EXPECT_EQ(client->get(gone).status, 404);
        EXPECT_EQ(client->remove(gone).status, 204);
        expectMembers({});
    }
    EXPECT_EQ(client->remove(gone).status, 404);
}

TEST_F(WebCertificates, ThatAreReplacedShowTheNewOneAtOnce) {
    const std::string uri = install(serverIdentity("old.example"));
    const HttpsAnswer before = client->get(uri);
    const HttpsAnswer answer = replace(uri, serverIdentity("new.example"));
    ASSERT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.header("Location"), uri);
    EXPECT_EQ(answer.json()["@Message.ExtendedInfo"][0]["MessageId"], "Base.1.9.Success");
    const HttpsAnswer after = client->get(uri);
    EXPECT_EQ(after.json()["Subject"]["CommonName"], "new.example");
    EXPECT_NE(after.json()["CertificateString"], before.json()["CertificateString"]);
    EXPECT_NE(after.json()["SerialNumber"], before.json()["SerialNumber"]);
    EXPECT_NE(after.header("ETag"), before.header("ETag"));
    EXPECT_THAT(after.body, Not(HasSubstr("PRIVATE KEY")));
    EXPECT_THAT(requestKeys(), IsEmpty());
}

TEST_F(WebCertificates, ThatAreReplacedByThemselvesStayAsTheyAre) {
    const std::string text = serverIdentity();
    const std::string uri = install(text);
    const HttpsAnswer before = client->get(uri);
    const HttpsAnswer answer = replace(uri, text);
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.json()["@Message.ExtendedInfo"][0]["MessageId"], "Base.1.9.NoOperation");
    EXPECT_EQ(client->get(uri).body, before.body);
}

// What the service refuses, in whose words, and at which place of the body.
TEST_F(WebCertificates, AreRefusedWithAReason) {
    struct Refused {
        std::string path;
        json body;
        std::string message;
        std::string place;
    };
    const std::string text = serverIdentity();
    const auto replacement = [&](const std::string& uri) {
        return json{{"CertificateUri", {{"@odata.id", uri}}},
                    {"CertificateString", text},
                    {"CertificateType", "PEM"}};
    };
    const std::vector<Refused> table = {
        {COLLECTION, {{"CertificateType", "PEM"}}, "PropertyMissing", "#/CertificateString"},
        {COLLECTION,
         {{"CertificateString", 1}, {"CertificateType", "PEM"}},
         "PropertyValueTypeError",
         "#/CertificateString"},
        {COLLECTION,
         {{"CertificateString", text}, {"CertificateType", "PEM"}, {"Name", "x"}},
         "PropertyUnknown",
         "#/Name"},
        {COLLECTION,
         {{"CertificateString", text}, {"CertificateType", "PKCS12"}},
         "PropertyValueNotInList",
         ""},
        {COLLECTION,
         {{"CertificateString", "none"}, {"CertificateType", "PEM"}},
         "PropertyValueFormatError",
         "#/CertificateString"},
        {REPLACE_CERTIFICATE, replacement(COLLECTION + "/none"), "ResourceMissingAtURI", ""},
        {REPLACE_CERTIFICATE, replacement(COLLECTION), "ActionNotSupportedOnReference", ""},
        {REPLACE_CERTIFICATE, replacement("webDefaultValue"), "ActionParameterValueFormatError",
         "#/CertificateUri"},
        {REPLACE_CERTIFICATE,
         {{"CertificateUri", "x"}, {"CertificateString", text}, {"CertificateType", "PEM"}},
         "ActionParameterValueTypeError",
         "#/CertificateUri"},
    };
    for (const Refused& each : table) {
        const HttpsAnswer answer = client->post(each.path, each.body);
        EXPECT_EQ(answer.status, 400) << answer.body;
        EXPECT_EQ(answer.messageId(), each.message);
        const json message = answer.json()["error"]["@Message.ExtendedInfo"][0];
        EXPECT_EQ(message.contains("RelatedProperties"), !each.place.empty()) << answer.body;
        if (!each.place.empty()) {
            EXPECT_EQ(message["RelatedProperties"], json::array({each.place}));
        }
    }
    EXPECT_THAT(requestKeys(), IsEmpty());
    EXPECT_TRUE(daemon->running());
    expectMembers({});
}

TEST_F(WebCertificates, WaitForADaemonThatIsGone) {
    daemon->kill();
    const HttpsAnswer answer = client->post(COLLECTION, creationOf(serverIdentity()));
    EXPECT_EQ(answer.status, 503);
    EXPECT_NE(answer.header("Retry-After"), "");
    EXPECT_THAT(answer.body, HasSubstr("daemon"));
    EXPECT_THAT(requestKeys(), IsEmpty());
    daemon = std::make_unique<DaemonProcess>();
    daemon->waitUntilReady(server);
    expectMembers({install(serverIdentity())});
}

// Half of the clients delete what they have installed.
TEST_F(WebCertificates, ChangedByManyAtATimeStayConsistent) {
    constexpr std::size_t CLIENTS = 20;
    std::vector<std::string> kept(CLIENTS);
    std::atomic<int> faults = 0;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < CLIENTS; ++i) {
        threads.emplace_back([&, i] {
            const auto mine = newClient();
            const HttpsAnswer answer = mine->post(
                COLLECTION, creationOf(serverIdentity("host" + std::to_string(i) + ".example")));
            faults += answer.status == 201 ? 0 : 1;
            kept[i] = answer.header("Location");
            if (i % 2 == 0) {
                faults += mine->remove(kept[i]).status == 204 ? 0 : 1;
                kept[i].clear();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(faults, 0);
    std::erase(kept, "");
    EXPECT_THAT(kept, SizeIs(CLIENTS / 2));
    expectMembers(kept);
}

// Whichever comes last, the resource shows what the backend has.
TEST_F(WebCertificates, ReplacedByManyAtATimeShowTheLastOne) {
    const std::string uri = install(serverIdentity());
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            json body = creationOf(serverIdentity("host" + std::to_string(i) + ".example"));
            body["CertificateUri"] = {{"@odata.id", uri}};
            EXPECT_EQ(newClient()->post(REPLACE_CERTIFICATE, body).status, 200);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    json body = creationOf(client->get(uri).json()["CertificateString"].get<std::string>());
    body["CertificateUri"] = {{"@odata.id", uri}};
    const HttpsAnswer again = client->post(REPLACE_CERTIFICATE, body);
    EXPECT_EQ(again.json()["@Message.ExtendedInfo"][0]["MessageId"], "Base.1.9.NoOperation")
        << again.body;
}

} // namespace
