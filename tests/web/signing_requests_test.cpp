// Signing requests over HTTPS, at once and as tasks.

#include "tests/support/certificates.h"
#include "tests/support/fake_backend.h"
#include "tests/support/wait.h"
#include "tests/web/web_process.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <set>
#include <thread>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

const std::string TASKS = "/redfish/v1/TaskService/Tasks";
const std::string MONITORS = "/redfish/v1/TaskService/TaskMonitors";

using Request = std::unique_ptr<X509_REQ, decltype(&X509_REQ_free)>;

Request parsed(const std::string& text) {
    BIO* const memory = BIO_new_mem_buf(text.data(), static_cast<int>(text.size()));
    Request request(PEM_read_bio_X509_REQ(memory, nullptr, nullptr, nullptr), X509_REQ_free);
    BIO_free(memory);
    return request;
}

// Empty when the text is no signing request.
std::string commonNameOf(const std::string& csr) {
    const Request request = parsed(csr);
    std::array<char, 100> name{};
    if (request) {
        (void)X509_NAME_get_text_by_NID(X509_REQ_get_subject_name(request.get()), NID_commonName,
                                        name.data(), name.size());
    }
    return name.data();
}

std::string publicKeyOf(const std::string& csr) {
    const Request request = parsed(csr);
    unsigned char* bytes = nullptr;
    const int length =
        request ? i2d_X509_PUBKEY(X509_REQ_get_X509_PUBKEY(request.get()), &bytes) : 0;
    std::string key(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(std::max(length, 0)));
    OPENSSL_free(bytes);
    return key;
}

std::string challengePasswordOf(const std::string& csr) {
    const Request request = parsed(csr);
    const int place = X509_REQ_get_attr_by_NID(request.get(), NID_pkcs9_challengePassword, -1);
    if (place < 0) {
        return {};
    }
    const ASN1_TYPE* value = X509_ATTRIBUTE_get0_type(X509_REQ_get_attr(request.get(), place), 0);
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(value->value.asn1_string)),
            static_cast<std::size_t>(ASN1_STRING_length(value->value.asn1_string))};
}

json ellipticRequest(const std::string& commonName = "a.example") {
    return {{"CertificateCollection", {{"@odata.id", COLLECTION}}}, {"CommonName", commonName}};
}

json rsaRequest(const std::string& commonName = "a.example", int bits = 2048) {
    json body = ellipticRequest(commonName);
    body["KeyBitLength"] = bits;
    return body;
}

class WebSigningRequests : public WebTest {
protected:
    // The monitor's answer when the task has ended.
    HttpsAnswer outcome(const std::string& monitor) {
        HttpsAnswer answer;
        (void)waitUntil([&] {
            answer = client->get(monitor);
            return answer.status != 202;
        });
        return answer;
    }

    // The URI of the monitor of a task that has begun.
    std::string begin(const json& body) {
        const HttpsAnswer answer = client->post(GENERATE_CSR, body);
        EXPECT_EQ(answer.status, 202) << answer.body;
        return answer.header("Location");
    }

    // A daemon whose backend waits for release() before it makes a key.
    void startWaitingDaemon() {
        daemon.reset();
        setBackendAnswers(json{{"generateCSR",
                                {{"csr", "-----BEGIN CERTIFICATE REQUEST-----"},
                                 {"waitForFile", directory.file("go")}}}}
                              .dump());
        DaemonOptions options;
        options.libraryPath = fakeBackendDirectory();
        daemon = std::make_unique<DaemonProcess>(options);
        daemon->waitUntilReady(server);
    }

    void release() {
        writeFile(directory.file("go"), "");
    }

    static std::string taskOf(const std::string& monitor) {
        return TASKS + monitor.substr(monitor.rfind('/'));
    }

    TempDirectory directory;
};

TEST_F(WebSigningRequests, WithAnEllipticKeyAreAnsweredAtOnce) {
    const HttpsAnswer answer = client->post(GENERATE_CSR, ellipticRequest("b.example"));
    ASSERT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(commonNameOf(answer.json()["CSRString"].get<std::string>()), "b.example");
    EXPECT_EQ(answer.json()["CertificateCollection"], (json{{"@odata.id", COLLECTION}}));
    EXPECT_THAT(answer.json(), SizeIs(2));
    EXPECT_EQ(client->get(TASKS).json()["Members"], json::array());
}

TEST_F(WebSigningRequests, WithAnRsaKeyRunAsTasks) {
    const HttpsAnswer begun = client->post(GENERATE_CSR, rsaRequest("c.example"));
    ASSERT_EQ(begun.status, 202) << begun.body;
    const std::string monitor = begun.header("Location");
    EXPECT_THAT(monitor, StartsWith(MONITORS + "/"));
    const std::string task = begun.json()["@odata.id"].get<std::string>();
    EXPECT_EQ(task, taskOf(monitor));
    EXPECT_EQ(begun.json()["TaskMonitor"], monitor);
    EXPECT_EQ(client->get(TASKS).json()["Members"], json::array({{{"@odata.id", task}}}));
    const HttpsAnswer answer = outcome(monitor);
    ASSERT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(commonNameOf(answer.json()["CSRString"].get<std::string>()), "c.example");
    EXPECT_EQ(answer.json()["CertificateCollection"], (json{{"@odata.id", COLLECTION}}));
    const json ended = client->get(task).json();
    EXPECT_EQ(ended["TaskState"], "Completed");
    EXPECT_EQ(ended["TaskStatus"], "OK");
    EXPECT_EQ(ended["PercentComplete"], 100);
    EXPECT_TRUE(ended.contains("EndTime"));
}

TEST_F(WebSigningRequests, ThatAreDoneCanBeRemoved) {
    for (const bool byMonitor : {true, false}) {
        const std::string monitor = begin(rsaRequest());
        ASSERT_EQ(outcome(monitor).status, 200);
        EXPECT_EQ(client->remove(byMonitor ? monitor : taskOf(monitor)).status, 204);
        EXPECT_EQ(client->get(monitor).status, 404);
        EXPECT_EQ(client->get(taskOf(monitor)).status, 404);
        EXPECT_EQ(client->get(TASKS).json()["Members@odata.count"], 0);
    }
}

TEST_F(WebSigningRequests, ThatWereNeverMadeHaveNoMonitor) {
    for (const std::string& path :
         {MONITORS, MONITORS + "/7", TASKS + "/7", TASKS + "/Members", MONITORS + "/Members"}) {
        EXPECT_EQ(client->get(path).status, 404) << path;
        EXPECT_EQ(client->remove(path).status, 404) << path;
    }
}

TEST_F(WebSigningRequests, ThatFailAsATaskSayWhy) {
    const std::string monitor = begin(rsaRequest("a.example", 1024));
    const HttpsAnswer answer = outcome(monitor);
    EXPECT_EQ(answer.status, 400);
    EXPECT_EQ(answer.messageId(), "ActionParameterValueNotInList");
    const json task = client->get(taskOf(monitor)).json();
    EXPECT_EQ(task["TaskState"], "Exception");
    EXPECT_EQ(task["TaskStatus"], "Critical");
    ASSERT_EQ(task["Messages"].size(), 1U);
    EXPECT_EQ(task["Messages"][0]["MessageId"], "Base.1.9.ActionParameterValueNotInList");
    EXPECT_FALSE(task.contains("PercentComplete"));
}

TEST_F(WebSigningRequests, ThatAreRefusedLeaveNoTask) {
    json elsewhere = rsaRequest();
    elsewhere["CertificateCollection"]["@odata.id"] = "/redfish/v1/nowhere";
    const HttpsAnswer answer = client->post(GENERATE_CSR, elsewhere);
    EXPECT_EQ(answer.status, 400);
    EXPECT_EQ(answer.messageId(), "ResourceMissingAtURI");
    EXPECT_EQ(client->get(TASKS).json()["Members"], json::array());
}

TEST_F(WebSigningRequests, KeepTheirChallengePasswordToThemselves) {
    const std::string password = "correct horse battery";
    json body = ellipticRequest();
    body["ChallengePassword"] = password;
    const HttpsAnswer answer = client->post(GENERATE_CSR, body);
    ASSERT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(challengePasswordOf(answer.json()["CSRString"].get<std::string>()), password);
    EXPECT_THAT(redis.dumpAll() + web->output() + web->errors(), Not(HasSubstr(password)));
    body["ChallengePassword"] = "";
    EXPECT_EQ(client->post(GENERATE_CSR, body).messageId(), "ActionParameterValueFormatError");
}

TEST_F(WebSigningRequests, LeadToACertificateWithoutAKeyOfTheClients) {
    const HttpsAnswer answer = client->post(GENERATE_CSR, ellipticRequest("d.example"));
    const std::string csr = answer.json()["CSRString"].get<std::string>();
    const std::string uri = install(signRequest(csr, makeAuthority()));
    EXPECT_EQ(client->get(uri).json()["Subject"]["CommonName"], "d.example");
}

TEST_F(WebSigningRequests, OfFiftyClientsAtATimeHaveTheirOwnNameAndKey) {
    constexpr std::size_t CLIENTS = 50;
    std::vector<std::string> csrs(CLIENTS);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < CLIENTS; ++i) {
        threads.emplace_back([&, i] {
            const auto mine = newClient();
            csrs[i] = mine->post(GENERATE_CSR, ellipticRequest("host" + std::to_string(i)))
                          .json()
                          .value("CSRString", "");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<std::string> keys;
    for (std::size_t i = 0; i < CLIENTS; ++i) {
        EXPECT_EQ(commonNameOf(csrs[i]), "host" + std::to_string(i));
        keys.insert(publicKeyOf(csrs[i]));
    }
    EXPECT_THAT(keys, SizeIs(CLIENTS));
}

TEST_F(WebSigningRequests, AsSeveralTasksAtATimeDoNotMix) {
    constexpr std::size_t COUNT = 4;
    std::vector<std::string> monitors;
    for (std::size_t i = 0; i < COUNT; ++i) {
        monitors.push_back(begin(rsaRequest("host" + std::to_string(i))));
    }
    std::set<std::string> keys;
    for (std::size_t i = 0; i < COUNT; ++i) {
        const HttpsAnswer answer = outcome(monitors[i]);
        ASSERT_EQ(answer.status, 200) << answer.body;
        const std::string csr = answer.json()["CSRString"].get<std::string>();
        EXPECT_EQ(commonNameOf(csr), "host" + std::to_string(i));
        keys.insert(publicKeyOf(csr));
    }
    EXPECT_THAT(keys, SizeIs(COUNT));
    EXPECT_EQ(client->get(TASKS).json()["Members@odata.count"], COUNT);
}

TEST_F(WebSigningRequests, ThatRunAreShownAsRunning) {
    startWaitingDaemon();
    const std::string monitor = begin(rsaRequest());
    EXPECT_TRUE(
        waitUntil([&] { return client->get(taskOf(monitor)).json()["TaskState"] == "Running"; }));
    const HttpsAnswer answer = client->get(monitor);
    EXPECT_EQ(answer.status, 202);
    EXPECT_EQ(answer.header("Location"), monitor);
    EXPECT_EQ(answer.json()["PercentComplete"], 0);
    EXPECT_EQ(client->remove(monitor).status, 409);
    release();
    EXPECT_EQ(outcome(monitor).status, 200);
}

TEST_F(WebSigningRequests, WhoseDaemonHasDiedEndAsException) {
    startWaitingDaemon();
    const std::string monitor = begin(rsaRequest());
    daemon->kill();
    const HttpsAnswer answer = outcome(monitor);
    EXPECT_EQ(answer.status, 500);
    EXPECT_EQ(answer.messageId(), "InternalError");
    EXPECT_EQ(client->get(taskOf(monitor)).json()["TaskState"], "Exception");
}

TEST_F(WebSigningRequests, AreFoundAgainAfterARestartOfTheService) {
    startWaitingDaemon();
    const std::string first = begin(rsaRequest());
    const std::string second = begin(rsaRequest());
    EXPECT_EQ(web->end(), 0); // although tasks are under way
    release();
    web = std::make_unique<WebProcess>();
    client = newClient();
    EXPECT_EQ(outcome(first).status, 200);
    EXPECT_EQ(outcome(second).status, 200);
}

TEST_F(WebSigningRequests, SayWhatTheyTake) {
    const json actions = client->get("/redfish/v1/CertificateService").json()["Actions"];
    const std::vector<std::pair<std::string, std::size_t>> counts = {
        {"#CertificateService.GenerateCSR", 19}, {"#CertificateService.ReplaceCertificate", 3}};
    for (const auto& [action, count] : counts) {
        const std::string uri = actions[action]["@Redfish.ActionInfo"].get<std::string>();
        const json info = client->get(uri).json();
        EXPECT_EQ(info["@odata.id"], uri);
        EXPECT_EQ(info["@odata.type"], "#ActionInfo.v1_1_2.ActionInfo");
        EXPECT_THAT(info["Parameters"], SizeIs(count));
        for (const json& parameter : info["Parameters"]) {
            const std::string name = parameter["Name"].get<std::string>();
            const bool isRequired =
                count == 3 || name == "CertificateCollection" || name == "CommonName";
            EXPECT_EQ(parameter["Required"], isRequired) << name;
            EXPECT_TRUE(parameter.contains("DataType")) << name;
        }
    }
}

} // namespace
